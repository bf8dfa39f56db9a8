#include "platform/soundsink.h"

#include "support/logcapture.h"
#include "support/patience.h"
#include "support/scopedvariable.h"
#include "support/soundserver.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gst/gst.h>

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <future>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

/// No sound server is to be found here, but one in one test: the framework plays into nothing, in
/// real time.
class SoundSinkTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void nothingToPlayToIsToldOnce();
    void silenceIsSound();
    void positionIsToldWithoutTheSink();
    void isHeardAtOnce_data();
    void isHeardAtOnce();
    void sinkOfTheUsersOwnIsKept();

private:
    QByteArray ownSink; ///< Its name; it is provided once in a process.
};

namespace {

const char PLAYERS_SINK[] = "QT_GSTREAMER_PLAYBIN_AUDIOSINK";
const int NUM_BUFFERS = 3;

/// What has passed a pad.
struct Passed
{
    int buffers = 0;
    int gaps = 0;
};

GstPadProbeReturn count(GstPad*, GstPadProbeInfo* info, gpointer passed)
{
    const bool gap = GST_BUFFER_FLAG_IS_SET(GST_PAD_PROBE_INFO_BUFFER(info), GST_BUFFER_FLAG_GAP);
    static_cast<Passed*>(passed)->buffers += 1;
    static_cast<Passed*>(passed)->gaps += gap;
    return GST_PAD_PROBE_OK;
}

void countBuffers(GstPad* pad, Passed* passed)
{
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, count, passed, nullptr);
    gst_object_unref(pad);
}

/// A sound card past any server, which takes what it has room for and plays nothing of it.
class FrozenCard
{
public:
    FrozenCard() : pipe(-1)
    {
        const QByteArray fifo = QFile::encodeName(folder.filePath("card"));
        QFile settings(folder.filePath("asound.conf"));
        if (::mkfifo(fifo, 0600) == 0 && settings.open(QIODevice::WriteOnly)) {
            settings.write("pcm.!default { type file slave.pcm { type null } format raw file \"" +
                           fifo + "\" }\n");
            pipe = ::open(fifo, O_RDWR | O_NONBLOCK | O_CLOEXEC);
        }
        qputenv("ALSA_CONFIG_PATH", QFile::encodeName(settings.fileName()));
    }
    ~FrozenCard()
    {
        qunsetenv("ALSA_CONFIG_PATH");
        ::close(pipe);
    }
    bool isThere() const
    {
        return pipe >= 0;
    }
    bool isFull() const
    {
        pollfd room = {pipe, POLLOUT, 0};
        return ::poll(&room, 1, 0) == 0;
    }
    /// Takes all that comes, until `done`.
    void thawUntil(const std::future<void>& done) const
    {
        char sound[65536];
        while (done.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
            while (::read(pipe, sound, sizeof sound) > 0) {
            }
        }
    }

private:
    QTemporaryDir folder;
    int pipe;
};

/// A sound server whose sink plays to nobody, and somebody who listens there.
class HeardServer
{
public:
    HeardServer()
        : socket(folder.filePath("socket")), variable("PULSE_SERVER", "unix:" + socket.toUtf8())
    {
    }
    ~HeardServer()
    {
        for (QProcess* process : {&listener, &server}) {
            process->kill();
            process->waitForFinished();
        }
    }
    bool isHeardFrom()
    {
        if (!startSoundServer(server, socket)) {
            return false;
        }
        listener.start("parec", {"--device=null.monitor", "--format=s16le", "--rate=44100",
                                 "--channels=2", "--latency-msec=10"});
        return listener.waitForReadyRead(patiently(10000));
    }
    void forgetWhatWasHeard()
    {
        const QDeadlineTimer limit(patiently(10000));
        while (!limit.hasExpired() && listener.waitForReadyRead(100) &&
               !isSilent(listener.readAll())) {
        }
    }
    /// How long it is silent from now on, in milliseconds.
    qint64 silence()
    {
        QElapsedTimer time;
        time.start();
        while (time.elapsed() < patiently(10000)) {
            if (!isSilent(listener.readAll())) {
                break;
            }
            listener.waitForReadyRead(10);
        }
        return time.elapsed();
    }
    /// The longest that it is silent within so many milliseconds, in milliseconds.
    int longestSilence(int ms)
    {
        int longest = 0;
        int silent = 0;
        for (int heard = 0; heard < ms * BYTES_PER_MS && listener.waitForReadyRead();) {
            const QByteArray sound = listener.readAll();
            heard += sound.size();
            for (const char byte : sound) {
                silent = byte == 0 ? silent + 1 : 0;
                longest = std::max(longest, silent);
            }
        }
        return longest / BYTES_PER_MS;
    }

private:
    static const int BYTES_PER_MS = 2 * 2 * 44100 / 1000;

    static bool isSilent(const QByteArray& sound)
    {
        return std::all_of(sound.begin(), sound.end(), [](char byte) { return byte == 0; });
    }

    QTemporaryDir folder;
    QString socket;
    ScopedVariable variable;
    QProcess server;
    QProcess listener;
};

} // namespace

void SoundSinkTest::initTestCase()
{
    QVERIFY(gst_init_check(nullptr, nullptr, nullptr));
    platform::provideSoundSink();
    ownSink = qgetenv(PLAYERS_SINK);
    QVERIFY(!ownSink.isEmpty());
}

void SoundSinkTest::cleanup()
{
    qunsetenv(PLAYERS_SINK);
}

void SoundSinkTest::nothingToPlayToIsToldOnce()
{
    QTemporaryDir folder;
    QFile noCards(folder.filePath("asound.conf"));
    QVERIFY(noCards.open(QIODevice::WriteOnly));
    const ScopedVariable settings("ALSA_CONFIG_PATH", QFile::encodeName(noCards.fileName()));
    LogCapture log;
    for (int player = 0; player < 2; ++player) {
        GstElement* sink = gst_element_factory_make(ownSink, nullptr);
        QVERIFY(sink);
        GstBus* bus = gst_bus_new();
        gst_element_set_bus(sink, bus);
        const GstStateChangeReturn change = gst_element_set_state(sink, GST_STATE_READY);
        GstMessage* toolkitsWord = gst_bus_pop_filtered(bus, GST_MESSAGE_WARNING);
        gst_element_set_state(sink, GST_STATE_NULL);
        gst_object_unref(sink);
        gst_object_unref(bus);
        QCOMPARE(change, GST_STATE_CHANGE_SUCCESS);
        QVERIFY2(!toolkitsWord, "it would be told twice");
        const QStringList told = log.platformLines();
        QCOMPARE(told.size(), 1);
        QVERIFY2(told.first().startsWith("No sound: no server and no card can be played to ("),
                 qPrintable(told.first()));
    }
}

void SoundSinkTest::silenceIsSound()
{
    const QByteArray description = "audiotestsrc num-buffers=" + QByteArray::number(NUM_BUFFERS) +
                                   " ! volume name=volume volume=0 ! " + ownSink + " name=sink";
    GstElement* pipeline = gst_parse_launch(description, nullptr);
    QVERIFY(pipeline);
    Passed volume;
    GstElement* element = gst_bin_get_by_name(GST_BIN(pipeline), "volume");
    countBuffers(gst_element_get_static_pad(element, "src"), &volume);
    gst_object_unref(element);
    Passed sink;
    element = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    GstPad* door = gst_element_get_static_pad(element, "sink");
    countBuffers(gst_ghost_pad_get_target(GST_GHOST_PAD(door)), &sink);
    gst_object_unref(door);
    gst_object_unref(element);

    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    GstBus* bus = gst_element_get_bus(pipeline);
    GstMessage* end = gst_bus_timed_pop_filtered(
        bus, 60 * GST_SECOND, GstMessageType(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    const bool ended = end && GST_MESSAGE_TYPE(end) == GST_MESSAGE_EOS;
    gst_element_set_state(pipeline, GST_STATE_NULL);
    if (end) {
        gst_message_unref(end);
    }
    gst_object_unref(bus);
    gst_object_unref(pipeline);

    QVERIFY(ended);
    QCOMPARE(volume.buffers, NUM_BUFFERS);
    QCOMPARE(volume.gaps, NUM_BUFFERS);
    QCOMPARE(sink.buffers, NUM_BUFFERS);
    QCOMPARE(sink.gaps, 0);
}

void SoundSinkTest::positionIsToldWithoutTheSink()
{
    const FrozenCard card;
    QVERIFY(card.isThere());
    GstElement* pipeline = gst_parse_launch("audiotestsrc ! " + ownSink, nullptr);
    QVERIFY(pipeline);
    gint64 none = 0;
    QVERIFY(!gst_element_query_position(pipeline, GST_FORMAT_TIME, &none));
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    const bool frozen = QTest::qWaitFor([&] { return card.isFull(); }, 60000);

    gint64 position = -1;
    auto answer = std::async(std::launch::async, [&] {
        return gst_element_query_position(pipeline, GST_FORMAT_TIME, &position) != 0;
    });
    const bool inBytes = gst_element_query_position(pipeline, GST_FORMAT_BYTES, &none) != 0;
    const bool answered = answer.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    card.thawUntil(
        std::async(std::launch::async, [&] { gst_element_set_state(pipeline, GST_STATE_NULL); }));
    gst_object_unref(pipeline);
    QVERIFY(frozen);
    QVERIFY2(answered, "whoever asks for the position waits for the card");
    QVERIFY(answer.get());
    QVERIFY(!inBytes);
    QVERIFY2(position > 0 && position < 60 * GST_SECOND, qPrintable(QString::number(position)));
}

void SoundSinkTest::isHeardAtOnce_data()
{
    QTest::addColumn<int>("waited");
    QTest::newRow("played on at once") << 0;
    QTest::newRow("made long before it is played") << 3000;
}

void SoundSinkTest::isHeardAtOnce()
{
    QFETCH(int, waited);
    if (QStandardPaths::findExecutable("pulseaudio").isEmpty()) {
        QSKIP("Package pulseaudio is not installed");
    }
    HeardServer server;
    QVERIFY(server.isHeardFrom());
    GstElement* pipeline = gst_parse_launch("audiotestsrc ! audioconvert ! " + ownSink, nullptr);
    QVERIFY(pipeline);
    gst_element_set_state(pipeline, GST_STATE_PAUSED);
    const GstStateChangeReturn made =
        gst_element_get_state(pipeline, nullptr, nullptr, 60 * GST_SECOND);
    QTest::qWait(waited);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    const qint64 before = server.silence();
    // A player may tell it twice. The sink believes in a change of times when it has lasted a
    // second.
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    const int within = server.longestSilence(3500);
    gst_element_set_state(pipeline, GST_STATE_PAUSED);
    // What was heard of the stream is no wait, and is not to be left out of what comes now.
    gst_element_seek_simple(pipeline, GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, 0);
    server.forgetWhatWasHeard();
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    const qint64 beforeAgain = server.silence();
    gint64 position = -1;
    gst_element_query_position(pipeline, GST_FORMAT_TIME, &position);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    QCOMPARE(made, GST_STATE_CHANGE_SUCCESS);
    QVERIFY2(before < 1500, qPrintable(QString::number(before)));
    QVERIFY2(within < 1500, qPrintable(QString::number(within)));
    QVERIFY2(beforeAgain < 1500, qPrintable(QString::number(beforeAgain)));
    QVERIFY2(position >= 0 && position < 1500 * GST_MSECOND, qPrintable(QString::number(position)));
}

void SoundSinkTest::sinkOfTheUsersOwnIsKept()
{
    qputenv(PLAYERS_SINK, "alsasink");
    platform::provideSoundSink();
    QCOMPARE(qgetenv(PLAYERS_SINK), QByteArray("alsasink"));
}

QTEST_GUILESS_MAIN(SoundSinkTest)
#include "soundsinktest.moc"
