#include "NowPlayingPanel.h"

#include <QFileInfo>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>


namespace {

constexpr int kCoverSize = 220;

QPixmap PlaceholderCover()
{
    QPixmap pm(kCoverSize, kCoverSize);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient g(0, 0, kCoverSize, kCoverSize);
    g.setColorAt(0, QColor(0x3a, 0x4a, 0x6b));
    g.setColorAt(1, QColor(0x1d, 0x24, 0x33));
    p.setBrush(g);
    p.setPen(Qt::NoPen);
    p.drawRoundedRect(pm.rect(), 12, 12);
    p.setBrush(QColor(255, 255, 255, 60));
    p.drawEllipse(QPointF(kCoverSize / 2.0, kCoverSize / 2.0), 60, 60);
    p.setBrush(QColor(0x1d, 0x24, 0x33));
    p.drawEllipse(QPointF(kCoverSize / 2.0, kCoverSize / 2.0), 12, 12);
    return pm;
}

QPixmap Rounded(const QPixmap& source)
{
    QPixmap scaled = source.scaled(kCoverSize, kCoverSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPixmap pm(scaled.size());
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath clip;
    clip.addRoundedRect(pm.rect(), 12, 12);
    p.setClipPath(clip);
    p.drawPixmap(0, 0, scaled);
    return pm;
}

} // namespace

NowPlayingPanel::NowPlayingPanel(QWidget* parent) : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(6);
    m_cover = new QLabel(this);
    m_cover->setFixedSize(kCoverSize, kCoverSize);
    m_cover->setAlignment(Qt::AlignCenter);
    m_title = new QLabel(this);
    m_title->setObjectName(QStringLiteral("nowPlayingTitle"));
    m_title->setWordWrap(true);
    m_artist = new QLabel(this);
    m_artist->setObjectName(QStringLiteral("nowPlayingArtist"));
    m_album = new QLabel(this);
    m_album->setObjectName(QStringLiteral("nowPlayingAlbum"));
    m_gain = new QLabel(this);
    m_gain->setObjectName(QStringLiteral("nowPlayingGain"));
    for (QLabel* label : {m_title, m_artist, m_album})
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(m_cover);
    layout->addSpacing(8);
    layout->addWidget(m_title);
    layout->addWidget(m_artist);
    layout->addWidget(m_album);
    layout->addWidget(m_gain);
    layout->addStretch(1);
    setFixedWidth(kCoverSize + 32);
    ShowNothing();
}

void NowPlayingPanel::ShowNothing()
{
    m_cover->setPixmap(PlaceholderCover());
    m_title->setText(tr("Nothing playing"));
    m_artist->clear();
    m_album->clear();
    m_gain->clear();
}

void NowPlayingPanel::ShowGain(const QString& text)
{
    m_gain->setText(text);
}

void NowPlayingPanel::ShowSong(const CNowPlayingSong& record)
{
    const CMp3Song& song = record.song;
    m_title->setText(song.m_strTitle.isEmpty() ? QFileInfo(record.strPath).completeBaseName() : song.m_strTitle);
    m_artist->setText(song.m_strArtist);
    m_album->setText(song.m_strYear.isEmpty() ? song.m_strAlbum
                                               : QStringLiteral("%1 (%2)").arg(song.m_strAlbum, song.m_strYear));
    QPixmap cover;
    cover.loadFromData(record.cover);
    m_cover->setPixmap(cover.isNull() ? PlaceholderCover() : Rounded(cover));
}
