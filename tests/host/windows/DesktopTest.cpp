#include "host/windows/DesktopTest.h"

#include "host/windows/QtApplication.h"

#include <QApplication>

namespace rewindle::test {

PrivateSession& DesktopTest::session() {
    static PrivateSession session(SessionParts{.sound = false, .display = true});
    return session;
}

} // namespace rewindle::test

int main(int argc, char** argv) {
    using namespace rewindle;
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    const QByteArray scale = qgetenv("QT_SCALE_FACTOR"); // which the session has not
    test::DesktopTest::session().setMeanwhile(
        [] { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::EventLoopExec, 10); });
    if (!scale.isEmpty()) qputenv("QT_SCALE_FACTOR", scale);
    QtApplication::identify();
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
