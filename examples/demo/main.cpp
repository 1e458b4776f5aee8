// The demo host: a main window standing in for the tagging application that embeds the player.
#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QTimer>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tunivox Demo"));
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Tunivox Player demo"));
    window.setCentralWidget(new QLabel(QStringLiteral("Tunivox Player"), &window));
    window.resize(900, 600);
    window.show();
    const QStringList args = QApplication::arguments();
    const int quitIndex = args.indexOf(QStringLiteral("--quit-after"));
    if (quitIndex > 0 && quitIndex + 1 < args.size())
        QTimer::singleShot(args[quitIndex + 1].toInt() * 1000, &app, &QApplication::quit);
    return app.exec();
}
