#include "platform/soundsink.h"

#include "platform/servicelog.h"

#include <QtGlobal>

#include <gst/gst.h>

#include <algorithm>

namespace platform {

namespace {

const char PLAYERS_SINK[] = "QT_GSTREAMER_PLAYBIN_AUDIOSINK";
const char NAME[] = "pixmothsoundsink";

struct SoundSink
{
    GstBin bin;
    GstElement* usual;   ///< Owned by the bin; null where the framework has none.
    bool hasPlayed;      ///< From then on the time of its stream is what was heard of it.
    GstClockTime waited; ///< How long the stream had been there when it was first played.
    guint64 position; ///< Of the latest piece of sound, in nanoseconds; guarded by the object lock.
};

struct SoundSinkClass
{
    GstBinClass bin;
};

guint64 positionOf(GstPad* pad, GstBuffer* buffer)
{
    guint64 position = GST_CLOCK_TIME_NONE;
    if (GstEvent* event = gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0)) {
        const GstSegment* segment = nullptr;
        gst_event_parse_segment(event, &segment);
        position = gst_segment_to_stream_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
        gst_event_unref(event);
    }
    return position;
}

/// Called in the player's own thread, for every piece of sound. Takes its mark as a gap off.
GstPadProbeReturn handOn(GstPad* pad, GstPadProbeInfo* info, gpointer data)
{
    GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
    auto* sink = static_cast<SoundSink*>(data);
    const guint64 position = positionOf(pad, buffer);
    GST_OBJECT_LOCK(sink);
    sink->position = position;
    GST_OBJECT_UNLOCK(sink);
    if (GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_GAP)) {
        buffer = gst_buffer_make_writable(buffer);
        GST_BUFFER_FLAG_UNSET(buffer, GST_BUFFER_FLAG_GAP);
        GST_PAD_PROBE_INFO_DATA(info) = buffer;
    }
    return GST_PAD_PROBE_OK;
}

/// The player asks for the position in the GUI thread, and a sink of ALSA's would wait for its
/// device to answer that. What was handed on last is as near as anybody here needs it.
gboolean answer(GstElement* element, GstQuery* query)
{
    if (GST_QUERY_TYPE(query) != GST_QUERY_POSITION) {
        const gpointer parent = g_type_class_peek_parent(GST_ELEMENT_GET_CLASS(element));
        return GST_ELEMENT_CLASS(parent)->query(element, query);
    }
    GstFormat format = GST_FORMAT_UNDEFINED;
    gst_query_parse_position(query, &format, nullptr);
    GST_OBJECT_LOCK(element);
    const guint64 position = reinterpret_cast<SoundSink*>(element)->position;
    GST_OBJECT_UNLOCK(element);
    if (format != GST_FORMAT_TIME || !GST_CLOCK_TIME_IS_VALID(position)) {
        return FALSE;
    }
    gst_query_set_position(query, format, static_cast<gint64>(position));
    return TRUE;
}

/// On the clock by which the usual sink plays. Other kinds of sinks do not count from their start.
GstClockTime timeOfStream(GstElement* usual)
{
    GstClock* clock = usual ? gst_element_provide_clock(usual) : nullptr;
    if (!clock) {
        return 0;
    }
    const GType counting = g_type_from_name("GstAudioClock");
    const bool counts = counting && g_type_is_a(G_OBJECT_TYPE(clock), counting);
    const GstClockTime time = counts ? gst_clock_get_time(clock) : 0;
    gst_object_unref(clock);
    return GST_CLOCK_TIME_IS_VALID(time) ? time : 0;
}

/// Whatever the time of a stream that has not been played, nothing of it has been heard: what is
/// first in the music is due first in the stream. Whoever holds the sink tells it when the music
/// began before each change, also from playing to playing.
GstStateChangeReturn changeState(GstElement* element, GstStateChange transition)
{
    auto* sink = reinterpret_cast<SoundSink*>(element);
    if (transition == GST_STATE_CHANGE_PAUSED_TO_PLAYING) {
        sink->waited = sink->hasPlayed ? 0 : timeOfStream(sink->usual);
        sink->hasPlayed = true;
    }
    if (GST_STATE_TRANSITION_NEXT(transition) == GST_STATE_PLAYING) {
        const GstClockTime began = gst_element_get_base_time(element);
        // The clock has gone on since it was asked when the music began.
        gst_element_set_base_time(element, began - std::min(began, sink->waited));
    }
    const gpointer parent = g_type_class_peek_parent(GST_ELEMENT_GET_CLASS(element));
    return GST_ELEMENT_CLASS(parent)->change_state(element, transition);
}

/// Called in whichever thread opens the sinks. Where none can be opened, since there is none, or
/// since somebody else holds the only card, the usual one warns, and plays to nobody.
void hear(GstBin* bin, GstMessage* message)
{
    if (GST_MESSAGE_TYPE(message) != GST_MESSAGE_WARNING ||
        !gst_object_has_as_parent(GST_MESSAGE_SRC(message), GST_OBJECT(bin))) {
        const gpointer parent = g_type_class_peek_parent(GST_BIN_GET_CLASS(bin));
        GST_BIN_CLASS(parent)->handle_message(bin, message);
        return;
    }
    GError* reason = nullptr;
    gst_message_parse_warning(message, &reason, nullptr);
    if (noteNoSound()) {
        qCWarning(lcPlatform, "No sound: no server and no card can be played to (%s)",
                  reason->message);
    }
    g_error_free(reason);
    gst_message_unref(message);
}

void initClass(gpointer sinkClass, gpointer)
{
    GST_BIN_CLASS(sinkClass)->handle_message = hear;
    GST_ELEMENT_CLASS(sinkClass)->query = answer;
    GST_ELEMENT_CLASS(sinkClass)->change_state = changeState;
    gst_element_class_set_static_metadata(
        GST_ELEMENT_CLASS(sinkClass), "Sound sink of pixmoth", "Sink/Audio",
        "Plays silence as sound, through the usual sink", "The authors of pixmoth");
}

void initSink(GTypeInstance* instance, gpointer)
{
    auto* sink = reinterpret_cast<SoundSink*>(instance);
    sink->position = GST_CLOCK_TIME_NONE;
    sink->usual = gst_element_factory_make("autoaudiosink", nullptr);
    if (!sink->usual) {
        return; // The framework's plugins are not installed, and there is no player either.
    }
    gst_bin_add(GST_BIN(instance), sink->usual);
    GstPad* pad = gst_element_get_static_pad(sink->usual, "sink");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, handOn, instance, nullptr);
    gst_element_add_pad(GST_ELEMENT(instance), gst_ghost_pad_new("sink", pad));
    gst_object_unref(pad);
}

} // namespace

void provideSoundSink()
{
    if (qEnvironmentVariableIsSet(PLAYERS_SINK)) {
        return;
    }
    if (!gst_init_check(nullptr, nullptr, nullptr)) {
        return; // Nor can the player; it says so itself.
    }
    const GType type =
        g_type_register_static_simple(GST_TYPE_BIN, "PixmothSoundSink", sizeof(SoundSinkClass),
                                      initClass, sizeof(SoundSink), initSink, GTypeFlags(0));
    if (gst_element_register(nullptr, NAME, GST_RANK_NONE, type)) {
        qputenv(PLAYERS_SINK, NAME);
    }
}

} // namespace platform
