#include "platform/blankingpause.h"

#include "support/patience.h"

#include <QProcess>
#include <QStringList>
#include <QTest>

#include <cstdlib>
#include <memory>
#include <sys/socket.h>
#include <xcb/screensaver.h>

namespace {

const uint16_t BLANKS_AFTER_S = 1; ///< The shortest time that a server knows.
const uint32_t OVERDUE_MS = 1500;  ///< Without a touch: long enough to have been blanked.

/// A client of a server of its own.
class Client
{
public:
    explicit Client(const QByteArray& display) : server(xcb_connect(display.constData(), nullptr))
    {
    }

    ~Client()
    {
        xcb_disconnect(server);
    }

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    xcb_connection_t* const server;
};

} // namespace

/// An X server whose screen blanks after a second; for each test another.
class BlankingPauseTest : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void blanksWithoutUs();
    void heldAndLetGo();
    void letGoByTheEndOfTheConnection();
    void heldByTheLast();
    void notOffered();

private:
    void start(const QStringList& arguments = {});
    xcb_screensaver_query_info_reply_t saver() const;
    bool isBlank() const;
    /// Waits until it should be blank.
    bool staysAwake() const;

    QProcess server;
    QByteArray display;
    std::unique_ptr<Client> show;
    std::unique_ptr<Client> observer;
};

void BlankingPauseTest::start(const QStringList& arguments)
{
    server.start("Xvfb", QStringList({"-displayfd", "1", "-screen", "0", "64x48x24", "-nolisten",
                                      "tcp", "-noreset"}) +
                             arguments);
    QVERIFY(server.waitForReadyRead(patiently(10000)));
    display = ":" + server.readLine().trimmed();
    show = std::make_unique<Client>(display);
    observer = std::make_unique<Client>(display);
    QCOMPARE(xcb_connection_has_error(show->server), 0);
    xcb_set_screen_saver(observer->server, BLANKS_AFTER_S, 0, XCB_BLANKING_PREFERRED,
                         XCB_EXPOSURES_DEFAULT);
    xcb_force_screen_saver(observer->server, XCB_SCREEN_SAVER_RESET);
    xcb_flush(observer->server);
}

void BlankingPauseTest::cleanup()
{
    show.reset();
    observer.reset();
    server.terminate();
    server.waitForFinished();
}

xcb_screensaver_query_info_reply_t BlankingPauseTest::saver() const
{
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(observer->server)).data->root;
    const std::unique_ptr<xcb_screensaver_query_info_reply_t, decltype(&std::free)> reply(
        xcb_screensaver_query_info_reply(
            observer->server, xcb_screensaver_query_info(observer->server, root), nullptr),
        &std::free);
    return reply ? *reply : xcb_screensaver_query_info_reply_t();
}

bool BlankingPauseTest::isBlank() const
{
    return saver().state == XCB_SCREENSAVER_STATE_ON;
}

bool BlankingPauseTest::staysAwake() const
{
    const bool overdue =
        QTest::qWaitFor([this] { return saver().ms_since_user_input >= OVERDUE_MS; });
    return overdue && !isBlank();
}

void BlankingPauseTest::blanksWithoutUs()
{
    start();
    QVERIFY(!isBlank());
    QTRY_VERIFY(isBlank());
}

void BlankingPauseTest::heldAndLetGo()
{
    start();
    auto pause = std::make_unique<platform::BlankingPause>(show->server);
    QVERIFY(staysAwake());
    pause.reset();
    // From the beginning of its time, not at once.
    QVERIFY(!isBlank());
    QTRY_VERIFY(isBlank());
    QCOMPARE(xcb_connection_has_error(show->server), 0);
}

void BlankingPauseTest::letGoByTheEndOfTheConnection()
{
    start();
    const platform::BlankingPause pause(show->server);
    QVERIFY(staysAwake());
    // As the kernel does when a process dies.
    ::shutdown(xcb_get_file_descriptor(show->server), SHUT_RDWR);
    QTRY_VERIFY(isBlank());
}

void BlankingPauseTest::heldByTheLast()
{
    start();
    Client other(display);
    const platform::BlankingPause pause(other.server);
    {
        const platform::BlankingPause brief(show->server);
    }
    QVERIFY(staysAwake());
}

void BlankingPauseTest::notOffered()
{
    start({"-extension", "MIT-SCREEN-SAVER"});
    {
        const platform::BlankingPause pause(show->server);
    }
    // The connection, which is the show's, is none the worse for it.
    const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> answer(
        xcb_get_input_focus_reply(show->server, xcb_get_input_focus(show->server), nullptr),
        &std::free);
    QVERIFY(answer);
    QCOMPARE(xcb_connection_has_error(show->server), 0);
}

QTEST_GUILESS_MAIN(BlankingPauseTest)
#include "blankingpausetest.moc"
