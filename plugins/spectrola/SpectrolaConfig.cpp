#include "SpectrolaConfig.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QSpinBox>
#include <algorithm>

#include "SpectrolaSettings.h"

int SpectrolaConfigTitleRoom(const QWidget& dialog)
{
    return dialog.fontMetrics().horizontalAdvance(dialog.windowTitle()) + kSpectrolaTitleBarRoom;
}

void RunSpectrolaConfig(void* pParent)
{
    SpectrolaSettings settings = LoadSpectrolaSettings();
    QDialog dialog(static_cast<QWidget*>(pParent));
    dialog.setObjectName(QStringLiteral("SpectrolaConfig"));
    dialog.setWindowTitle(QStringLiteral("Spectrola settings"));
    auto* bars = new QSpinBox(&dialog);
    bars->setObjectName(QStringLiteral("bars"));
    bars->setRange(kSpectrolaMinBars, kSpectrolaMaxBars);
    bars->setValue(settings.nBars);
    auto* scheme = new QComboBox(&dialog);
    scheme->setObjectName(QStringLiteral("scheme"));
    for (const char* pszName : kSpectrolaSchemeNames)
        scheme->addItem(QString::fromLatin1(pszName));
    scheme->setCurrentIndex(settings.nScheme);
    auto* caps = new QCheckBox(QStringLiteral("Show &peak caps"), &dialog);
    caps->setObjectName(QStringLiteral("caps"));
    caps->setChecked(settings.bPeakCaps);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto* layout = new QFormLayout(&dialog);
    layout->addRow(QStringLiteral("Number of &bars:"), bars);
    layout->addRow(QStringLiteral("&Colour scheme:"), scheme);
    layout->addRow(caps);
    layout->addRow(buttons);
    layout->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    // Wide enough for the title bar to show the whole title beside its icon and buttons, which a
    // window sized to its three rows cuts ("Spectr... ttings").
    dialog.setMinimumWidth(std::max(dialog.sizeHint().width(), SpectrolaConfigTitleRoom(dialog)));
    if (dialog.exec() != QDialog::Accepted)
        return;
    settings.nBars = bars->value();
    settings.nScheme = scheme->currentIndex();
    settings.bPeakCaps = caps->isChecked();
    if (!SaveSpectrolaSettings(settings))
        qWarning("Spectrola: settings not saved");
}
