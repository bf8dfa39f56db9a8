#include "platform/blankingpause.h"

#include <xcb/screensaver.h>

namespace platform {

BlankingPause::BlankingPause(xcb_connection_t* server) : server(server)
{
    ask(true);
}

BlankingPause::~BlankingPause()
{
    ask(false);
}

void BlankingPause::ask(bool pause)
{
    // A request of an extension that is not there would end the connection.
    const xcb_query_extension_reply_t* offered =
        xcb_get_extension_data(server, &xcb_screensaver_id);
    if (!offered || !offered->present) {
        return;
    }
    // A server whose extension is older than the request refuses it, which nobody needs to know.
    xcb_discard_reply(server, xcb_screensaver_suspend_checked(server, pause).sequence);
    xcb_flush(server);
}

} // namespace platform
