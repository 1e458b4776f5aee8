// tplayer: the standalone player window that takes over a playlist from a host. It opens the list
// file given on its command line ("path,title" lines) and plays it from the first entry.
//
//   tplayer [--device alsa|null] LISTFILE
#include <QApplication>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>

#include "PlaylistFile.h"
#include "audio/WaveOut.h"
#include "controls/CSliderCtrlEx.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/CMediaPlayerToolbar.h"
#include "song/CMp3Song.h"

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tplayer"));
    QStringList args = QApplication::arguments().mid(1);
    if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
        printf("usage: tplayer [--device alsa|null] LISTFILE\n"
               "Plays a list file of \"path,title\" lines, as a host's \"Open in external player\" writes it.\n");
        return 0;
    }
    const int deviceIndex = args.indexOf(QStringLiteral("--device"));
    if (deviceIndex >= 0 && deviceIndex + 1 < args.size()) {
        WaveMapperOptions options = GetWaveMapper();
        if (!ParseWaveBackend(args[deviceIndex + 1].toStdString(), &options.eBackend)) {
            fprintf(stderr, "tplayer: unknown device '%s' (alsa or null)\n", qPrintable(args[deviceIndex + 1]));
            return 2;
        }
        SetWaveMapper(options);
        args.remove(deviceIndex, 2);
    }
    if (args.size() != 1) {
        fprintf(stderr, "usage: tplayer [--device alsa|null] LISTFILE\n");
        return 2;
    }

    const QFileInfo listFile(args[0]);
    if (!listFile.isFile() || !listFile.isReadable()) {
        fprintf(stderr, "tplayer: %s: %s\n", qPrintable(args[0]),
                !listFile.exists() ? "no such list file" : listFile.isDir() ? "is a folder, not a list file"
                                                                            : "cannot be read");
        return 1;
    }

    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Tunivox tplayer"));
    auto* central = new QWidget(&window);
    auto* layout = new QVBoxLayout(central);
    auto* player = new CMediaPlayerCtrl(central);
    layout->addWidget(player);
    window.setCentralWidget(central);
    // The host's visualization stays the host's: opening it here would show a second window.
    player->SetRemembersVisualization(0);
    player->Init();
    layout->addWidget(player->GetTrackbar());
    player->GetTrackbar()->show();
    window.addToolBar(Qt::BottomToolBarArea, player->GetToolbar());
    player->GetToolbar()->show();

    player->ClearPlayList();
    for (const PlaylistEntry& entry : ReadPlaylistFile(args[0])) {
        CMp3Song song;
        song.m_strFilePath = entry.strPath;
        // "Artist - Title" is shown as it came; a title without an artist is shown whole (as an
        // entry added with its tags shows the first tag); no title shows the file name.
        const int dash = entry.strTitle.indexOf(QStringLiteral(" - "));
        song.m_strTagArtist = dash >= 0 ? entry.strTitle.left(dash) : entry.strTitle;
        song.m_strTagTitle = dash >= 0 ? entry.strTitle.mid(dash + 3) : QString();
        song.m_strAux2 = entry.strPath.section(QLatin1Char('/'), -1);
        player->addFile(song, dash < 0 && !entry.strTitle.isEmpty() ? 1 : 0);
    }
    window.statusBar()->showMessage(QStringLiteral("%1 songs").arg(player->count()));
    window.resize(520, 420);
    window.show();
    if (player->count() > 0)
        player->PlayStart(player->GetFiles().GetAt(0).toUtf8().constData());
    return app.exec();
}
