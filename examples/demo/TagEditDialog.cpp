#include "TagEditDialog.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPushButton>

namespace {

constexpr int kCoverPreview = 96;

} // namespace

TagEditDialog::TagEditDialog(const QString& path, QWidget* parent) : QDialog(parent), m_strPath(path)
{
    setWindowTitle(tr("Edit tags — %1").arg(QFileInfo(path).fileName()));
    m_before = ReadSongTags(path);
    const SongTags& tags = m_before;
    auto* form = new QFormLayout(this);
    auto field = [&](const QString& label, const QString& value) {
        auto* edit = new QLineEdit(value, this);
        form->addRow(label, edit);
        return edit;
    };
    m_title = field(tr("Title"), tags.strTitle);
    m_artist = field(tr("Artist"), tags.strArtist);
    m_album = field(tr("Album"), tags.strAlbum);
    m_year = field(tr("Year"), tags.strYear);
    m_track = field(tr("Track"), tags.strTrack);
    m_genre = field(tr("Genre"), tags.strGenre);
    m_lyrics = new QPlainTextEdit(tags.strLyrics, this);
    m_lyrics->setMinimumHeight(120);
    form->addRow(tr("Lyrics"), m_lyrics);
    m_cover = new QLabel(tr("(unchanged)"), this);
    m_cover->setMinimumHeight(kCoverPreview);
    auto* choose = new QPushButton(tr("Front cover…"), this);
    connect(choose, &QPushButton::clicked, this, &TagEditDialog::ChooseCover);
    form->addRow(choose, m_cover);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &TagEditDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &TagEditDialog::reject);
    form->addRow(buttons);
    resize(460, 520);
}

void TagEditDialog::ChooseCover()
{
    const QString file =
        QFileDialog::getOpenFileName(this, tr("Front cover"), QString(), tr("Images (*.jpg *.jpeg *.png)"));
    if (file.isEmpty())
        return;
    QFile in(file);
    QImage image;
    if (!in.open(QIODevice::ReadOnly) || !image.loadFromData(in.readAll())) {
        QMessageBox::warning(this, windowTitle(), tr("%1 is not a picture that can be read").arg(file));
        return;
    }
    in.seek(0);
    m_coverBytes = in.readAll();
    m_strCoverMime = file.endsWith(QLatin1String(".png"), Qt::CaseInsensitive) ? QStringLiteral("image/png")
                                                                               : QStringLiteral("image/jpeg");
    m_cover->setPixmap(QPixmap::fromImage(image).scaled(kCoverPreview, kCoverPreview, Qt::KeepAspectRatio,
                                                        Qt::SmoothTransformation));
}

void TagEditDialog::accept()
{
    SongTags tags;
    tags.strTitle = m_title->text();
    tags.strArtist = m_artist->text();
    tags.strAlbum = m_album->text();
    tags.strYear = m_year->text();
    tags.strTrack = m_track->text();
    tags.strGenre = m_genre->text();
    tags.strLyrics = m_lyrics->toPlainText();
    tags.cover = m_coverBytes;
    tags.strCoverMime = m_strCoverMime;
    QString error;
    if (!WriteSongTags(m_strPath, m_before, tags, &error)) {
        QMessageBox::warning(this, windowTitle(), error);
        return;
    }
    QDialog::accept();
}
