#pragma once

struct xcb_connection_t;

namespace platform {

/// Holds the timers of an X server that would blank its screen, or put it to sleep, over a
/// connection of somebody else's. The server lets go of them when the connection ends, too.
class BlankingPause
{
public:
    /// Without effect where the server does not offer it.
    explicit BlankingPause(xcb_connection_t* server);
    /// Sets the timers going again, from their beginning. The connection must still be there.
    ~BlankingPause();
    BlankingPause(const BlankingPause&) = delete;
    BlankingPause& operator=(const BlankingPause&) = delete;

private:
    void ask(bool pause);

    xcb_connection_t* server;
};

} // namespace platform
