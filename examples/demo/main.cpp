// tunivox-demo [--device alsa|null] [--quit-after SECONDS] [--screenshot FILE] [FILE|FOLDER…]
// With no files it loads the demo playlist generated next to it and starts playing.
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QScreen>
#include <QTimer>

#include "DemoWindow.h"
#include "audio/WaveOut.h"
#include "platform/Folders.h"
#include "player/CMediaPlayerCtrl.h"

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tunivox Demo"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Tunivox Player demo host"));
    parser.addHelpOption();
    QCommandLineOption device(QStringLiteral("device"), QStringLiteral("Sound output: alsa (default) or null."),
                              QStringLiteral("alsa|null"), QStringLiteral("alsa"));
    QCommandLineOption quitAfter(QStringLiteral("quit-after"), QStringLiteral("Quit after this many seconds."),
                                 QStringLiteral("SECONDS"));
    QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                  QStringLiteral("Save a picture of the window to FILE (before quitting)."),
                                  QStringLiteral("FILE"));
    parser.addOptions({device, quitAfter, screenshot});
    parser.addPositionalArgument(QStringLiteral("paths"), QStringLiteral("Songs or folders to play."),
                                 QStringLiteral("[FILE|FOLDER…]"));
    parser.process(app);

    WaveMapperOptions options = GetWaveMapper();
    if (!ParseWaveBackend(parser.value(device).toStdString(), &options.eBackend)) {
        fprintf(stderr, "tunivox-demo: unknown device '%s' (alsa or null)\n", qPrintable(parser.value(device)));
        return 2;
    }
    SetWaveMapper(options);

    DemoWindow window;
    QStringList paths = parser.positionalArguments();
    if (paths.isEmpty())
        paths.append(ApplicationFolder() + QStringLiteral("demo"));
    window.AddPaths(paths);
    window.show();
    QTimer::singleShot(0, &window, &DemoWindow::PlayFirst);

    if (parser.isSet(quitAfter)) {
        const int ms = static_cast<int>(parser.value(quitAfter).toDouble() * 1000);
        const QString shot = parser.value(screenshot);
        QTimer::singleShot(ms, &window, [&window, shot] {
            if (!shot.isEmpty())
                window.grab().save(shot);
            window.close();
        });
    } else if (parser.isSet(screenshot)) {
        const QString shot = parser.value(screenshot);
        QTimer::singleShot(3000, &window, [&window, shot] { window.grab().save(shot); });
    }
    return app.exec();
}
