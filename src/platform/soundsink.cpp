#include "platform/soundsink.h"

#include "platform/servicelog.h"

#include <QtGlobal>

#include <gst/gst.h>

namespace platform {

namespace {

const char PLAYERS_SINK[] = "QT_GSTREAMER_PLAYBIN_AUDIOSINK";
const char NAME[] = "pixmothsoundsink";

struct SoundSink
{
    GstBin bin;
};

struct SoundSinkClass
{
    GstBinClass bin;
};

/// Called in the player's own thread, for every piece of sound.
GstPadProbeReturn takeGapMarkOff(GstPad*, GstPadProbeInfo* info, gpointer)
{
    GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
    if (GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_GAP)) {
        buffer = gst_buffer_make_writable(buffer);
        GST_BUFFER_FLAG_UNSET(buffer, GST_BUFFER_FLAG_GAP);
        GST_PAD_PROBE_INFO_DATA(info) = buffer;
    }
    return GST_PAD_PROBE_OK;
}

void initClass(gpointer sinkClass, gpointer)
{
    gst_element_class_set_static_metadata(
        GST_ELEMENT_CLASS(sinkClass), "Sound sink of pixmoth", "Sink/Audio",
        "Plays silence as sound, through the usual sink", "The authors of pixmoth");
}

void initSink(GTypeInstance* instance, gpointer)
{
    GstElement* usual = gst_element_factory_make("autoaudiosink", nullptr);
    if (!usual) {
        return; // The framework's plugins are not installed, and there is no player either.
    }
    gst_bin_add(GST_BIN(instance), usual);
    GstPad* pad = gst_element_get_static_pad(usual, "sink");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, takeGapMarkOff, nullptr, nullptr);
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
