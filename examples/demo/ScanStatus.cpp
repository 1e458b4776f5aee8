#include "ScanStatus.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStatusBar>

#include "player/CMediaPlayerCtrl.h"

ScanStatus::ScanStatus(CMediaPlayerCtrl* player, QStatusBar* bar) : QWidget(bar)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_text = new QLabel(this);
    m_text->setMinimumWidth(320);
    auto* cancel = new QPushButton(tr("Cancel"), this);
    layout->addWidget(m_text);
    layout->addWidget(cancel);
    bar->addPermanentWidget(this);
    hide();

    connect(cancel, &QPushButton::clicked, player, &CMediaPlayerCtrl::CancelScan);
    connect(player, &CMediaPlayerCtrl::scanProgress, this, [this](int nRead, const QString& folder) {
        const QString shown = m_text->fontMetrics().elidedText(folder, Qt::ElideMiddle, 260);
        m_text->setText(tr("Reading songs: %1 — %2").arg(nRead).arg(shown));
        m_text->setToolTip(folder);
        show();
    });
    connect(player, &CMediaPlayerCtrl::scanSkipped, this, [this](int nSkipped, const QStringList& firstPaths) {
        m_strSkipped = tr("; %n item(s) could not be read: ", nullptr, nSkipped) + firstPaths.join(QStringLiteral(", ")) +
                       (nSkipped > firstPaths.size() ? QStringLiteral(", …") : QString());
    });
    connect(player, &CMediaPlayerCtrl::scanFinished, this, [this, bar](int nAdded, bool bCancelled) {
        hide();
        const QString added = bCancelled ? tr("Reading cancelled: %n song(s) added", nullptr, nAdded)
                                         : tr("%n song(s) added", nullptr, nAdded);
        bar->showMessage(added + m_strSkipped, m_strSkipped.isEmpty() ? 4000 : 15000);
        m_strSkipped.clear();
    });
}
