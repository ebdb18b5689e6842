// The tests open real windows, on a platform without a screen unless another one is chosen.

#include <gmock/gmock.h>

#include <QApplication>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    ::testing::InitGoogleMock(&argc, argv);
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
