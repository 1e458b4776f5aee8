// tplayer: the standalone player window that takes over a playlist from a host. It opens the list
// file given on its command line ("path,title" lines) and plays it from the first entry.
//
//   tplayer [--device alsa|null] LISTFILE
#include <QApplication>
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
        const int dash = entry.strTitle.indexOf(QStringLiteral(" - "));
        song.m_strTagArtist = dash >= 0 ? entry.strTitle.left(dash) : entry.strTitle;
        song.m_strTagTitle = dash >= 0 ? entry.strTitle.mid(dash + 3) : QString();
        song.m_strAux2 = entry.strPath.section(QLatin1Char('/'), -1);
        player->addFile(song, 0);
    }
    window.statusBar()->showMessage(QStringLiteral("%1 songs").arg(player->count()));
    window.resize(520, 420);
    window.show();
    if (player->count() > 0)
        player->PlayStart(player->GetFiles().GetAt(0).toUtf8().constData());
    return app.exec();
}
