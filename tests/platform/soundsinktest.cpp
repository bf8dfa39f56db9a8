#include "platform/soundsink.h"

#include <QTest>

#include <gst/gst.h>

/// No sound server is to be found here: the framework plays into nothing, in real time.
class SoundSinkTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void silenceIsSound();
    void sinkOfTheUsersOwnIsKept();
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

} // namespace

void SoundSinkTest::initTestCase()
{
    QVERIFY(gst_init_check(nullptr, nullptr, nullptr));
}

void SoundSinkTest::cleanup()
{
    qunsetenv(PLAYERS_SINK);
}

void SoundSinkTest::silenceIsSound()
{
    platform::provideSoundSink();
    const QByteArray name = qgetenv(PLAYERS_SINK);
    QVERIFY(!name.isEmpty());

    const QByteArray description = "audiotestsrc num-buffers=" + QByteArray::number(NUM_BUFFERS) +
                                   " ! volume name=volume volume=0 ! " + name + " name=sink";
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

void SoundSinkTest::sinkOfTheUsersOwnIsKept()
{
    qputenv(PLAYERS_SINK, "alsasink");
    platform::provideSoundSink();
    QCOMPARE(qgetenv(PLAYERS_SINK), QByteArray("alsasink"));
}

QTEST_GUILESS_MAIN(SoundSinkTest)
#include "soundsinktest.moc"
