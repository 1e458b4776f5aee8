// tplayer: the standalone player window that takes over a playlist from a host. It opens the list
// file given on its command line ("path,title" lines) and plays it from the first entry.
//
//   tplayer [--device alsa|null] [--] LISTFILE
//
// Exit status 0 once the window is closed, 1 when the list file cannot be read as a list (then no
// window opens), 2 for a bad command line.
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>
#include <cstdio>
#include <string>

#include "PlaylistFile.h"
#include "audio/WaveOut.h"
#include "controls/CSliderCtrlEx.h"
#include "player/CMediaPlayerCtrl.h"
#include "player/CMediaPlayerToolbar.h"
#include "song/CMp3Song.h"

namespace {

constexpr const char* kUsage =
    "usage: tplayer [--device alsa|null] [--] LISTFILE\n"
    "Plays a list file of \"path,title\" lines, as a host's \"Open in external player\" writes it.\n"
    "  --device alsa|null   the sound device: ALSA (the default) or the null device\n"
    "  -h, --help           print this help and exit\n"
    "  --                   what follows is the list file, even when it starts with \"-\"\n"
    "Exit status: 0 when the window was closed, 1 when the list file cannot be read as a list,\n"
    "2 for a bad command line.\n";

int BadCommandLine(const std::string& problem)
{
    std::fprintf(stderr, "tplayer: %s\n%s", problem.c_str(), kUsage);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    // The command line is read before the application is made: help and a bad command line need
    // no display, and QApplication aborts without one.
    WaveMapperOptions device = GetWaveMapper();
    std::string listArgument;
    bool listGiven = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool rest = arg == "--";
        if (arg == "--help" || arg == "-h") {
            std::printf("%s", kUsage);
            return 0;
        } else if (arg == "--device") {
            if (i + 1 >= argc || !ParseWaveBackend(argv[i + 1], &device.eBackend))
                return BadCommandLine("--device takes alsa or null");
            ++i;
        } else if (!rest && arg.size() > 1 && arg[0] == '-') {
            return BadCommandLine("unknown option " + arg);
        } else {
            if (rest) {
                if (++i >= argc)
                    return BadCommandLine("no list file given");
            }
            if (listGiven || (rest && i + 1 < argc))
                return BadCommandLine("one list file only");
            listArgument = argv[i];
            listGiven = true;
            if (rest)
                break;
        }
    }
    if (!listGiven)
        return BadCommandLine("no list file given");
    SetWaveMapper(device);

    // The name as given, with no locale in between (the application's codec is not set up yet).
    const QString listPath = QFile::decodeName(listArgument.c_str());
    const QFileInfo listFile(listPath);
    if (!listFile.isFile() || !listFile.isReadable()) {
        std::fprintf(stderr, "tplayer: %s: %s\n", listArgument.c_str(),
                     !listFile.exists() ? "no such list file" : listFile.isDir() ? "is a folder, not a list file"
                                                                                 : "cannot be read");
        return 1;
    }
    const PlaylistFileRead list = ReadPlaylistFile(listPath);
    if (!list.strError.isEmpty()) {
        std::fprintf(stderr, "tplayer: %s: %s\n", listArgument.c_str(), list.strError.toUtf8().constData());
        return 1;
    }

    // Qt sees no argument: every one was read above, and a list file called "-style" is no option.
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    QApplication::setApplicationName(QStringLiteral("tplayer"));
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
    for (const PlaylistEntry& entry : list.entries) {
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
