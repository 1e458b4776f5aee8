// In a binary of its own: CTest runs the cases of one binary as parallel processes, which would be
// "another instance" of the same executable.
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"

using namespace tunivox::test;

TEST(ExternalPlayer, OwnExecutableIsNotAnotherInstance)
{
    PlayerFixture f;
    const QString self = QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))).fileName();
    EXPECT_EQ(f.ctrl->AppIsAllreadyRunning(self), 0);
}

