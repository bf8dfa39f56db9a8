#pragma once

namespace platform {

/// Has the media player play through the sound system's usual sink, behind one step: music at
/// volume 0 goes on to it as sound like any other. The media framework marks such music as a gap,
/// and from release 1.26 on its sink lets a gap pass without playing anything. A stream to a sound
/// server stands still until it is played on, and with it the clock by which the gap would end: a
/// show that begins in silence would stay silent to its end, without a word.
///
/// The music begins when it is told to. To the client library of the sound servers the time of a
/// stream runs from when the stream is made, also while it waits to be played, and the usual sink
/// lets the music begin as late as that time has come: on a cold disk, or behind a slow address
/// book, by half a second and more, for the whole show.
///
/// Where the music is, the player is told without asking the sink: one that plays to a sound card
/// past any server would have it wait for the card, and with it the frames for one that has frozen.
/// Where nothing can be played to, the log says so, unless it has said so before.
///
/// Call it once, before the first player is made. Whoever names a sink of their own in
/// QT_GSTREAMER_PLAYBIN_AUDIOSINK keeps it.
void provideSoundSink();

} // namespace platform
