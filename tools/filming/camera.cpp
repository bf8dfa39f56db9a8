#include <xcb/damage.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

struct Free
{
    void operator()(void* answer) const
    {
        std::free(answer);
    }
};
template <typename Answer>
using Owned = std::unique_ptr<Answer, Free>;

/// Whoever reads may be slower than the screen, but not for long.
const int PIPE_BYTES = 1 << 20;

[[noreturn]] void giveUp(const char* why)
{
    std::fprintf(stderr, "camera: %s\n", why);
    std::exit(1);
}

bool writeAll(const std::uint8_t* bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = write(STDOUT_FILENO, bytes, count);
        if (written <= 0) {
            return false;
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

} // namespace

/// Takes a picture of an X screen whenever something on it has changed, so that a film of a show
/// that paints at a pace of its own has each of its frames, and each once:
///   camera TIMES >PICTURES
/// The pictures have 4 bytes a pixel: blue, green, red, nothing. TIMES gets a line for each, the
/// time of its change in seconds since 1970. The first picture is what is there already. Goes on
/// until the screen goes, nobody reads any more, or a signal comes.
int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: camera TIMES >PICTURES\n");
        return 2;
    }
    std::FILE* const times = std::fopen(argv[1], "we");
    if (!times) {
        giveUp("the times cannot be written");
    }
    xcb_connection_t* const screen = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(screen) != 0) {
        giveUp("there is no screen");
    }
    const xcb_screen_t* const root = xcb_setup_roots_iterator(xcb_get_setup(screen)).data;
    const xcb_query_extension_reply_t* const extension =
        xcb_get_extension_data(screen, &xcb_damage_id);
    if (!extension || extension->present == 0 || root->root_depth != 24) {
        giveUp("the screen cannot tell its changes, or has other colours");
    }
    Owned<xcb_damage_query_version_reply_t>(
        xcb_damage_query_version_reply(screen, xcb_damage_query_version(screen, 1, 1), nullptr));
    const xcb_damage_damage_t damage = xcb_generate_id(screen);
    xcb_damage_create(screen, damage, root->root, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    fcntl(STDOUT_FILENO, F_SETPIPE_SZ, PIPE_BYTES);

    bool changed = true;
    for (;;) {
        if (changed) {
            timespec now = {};
            clock_gettime(CLOCK_REALTIME, &now);
            // What changes from here on makes another picture.
            xcb_damage_subtract(screen, damage, XCB_NONE, XCB_NONE);
            const Owned<xcb_get_image_reply_t> picture(xcb_get_image_reply(
                screen,
                xcb_get_image(screen, XCB_IMAGE_FORMAT_Z_PIXMAP, root->root, 0, 0,
                              root->width_in_pixels, root->height_in_pixels, ~0U),
                nullptr));
            if (!picture ||
                !writeAll(xcb_get_image_data(picture.get()),
                          static_cast<std::size_t>(xcb_get_image_data_length(picture.get())))) {
                break;
            }
            std::fprintf(times, "%lld.%06ld\n", static_cast<long long>(now.tv_sec),
                         now.tv_nsec / 1000);
            std::fflush(times);
        }
        const Owned<xcb_generic_event_t> event(xcb_wait_for_event(screen));
        if (!event) {
            break;
        }
        changed = (event->response_type & 0x7f) == extension->first_event + XCB_DAMAGE_NOTIFY;
    }
    xcb_disconnect(screen);
    std::fclose(times);
    return 0;
}
