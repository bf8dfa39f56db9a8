// A plugin of ALSA's, in place of a sound card that somebody else plays on: it cannot be opened.
// What it is called by is ALSA's own choice, and the arguments are of no use here.

#include <cerrno>

extern "C" {

char __snd_pcm_busy_open_dlsym_pcm_001 = 0; // The release of the interface.

int _snd_pcm_busy_open()
{
    return -EBUSY;
}
}
