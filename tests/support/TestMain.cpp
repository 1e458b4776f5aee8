// googletest entry point with a QApplication alive for the whole run, so widget tests can use
// Qt Test's event helpers. Widgets run on the offscreen platform unless the test asks for another
// (OpenGL tests set QT_QPA_PLATFORM=xcb and run under Xvfb).
#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("TunivoxTests"));
    return RUN_ALL_TESTS();
}
