#include "platform/idlerequests.h"

#include <QStringList>
#include <QTest>

#include <memory>
#include <poll.h>
#include <sys/socket.h>
#include <wayland-client.h>
#include <wayland-server.h>

extern "C" {
extern const wl_interface zwp_idle_inhibit_manager_v1_interface;
extern const wl_interface zwp_idle_inhibitor_v1_interface;
}

namespace {

/// A compositor within the test, which writes down what it is asked.
class Compositor
{
public:
    Compositor()
    {
        int ends[2];
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
        display = wl_display_create();
        wl_global_create(display, &wl_compositor_interface, 1, this, bindCompositor);
        wl_client_create(display, ends[0]);
        client = wl_display_connect_to_fd(ends[1]);
    }

    ~Compositor()
    {
        wl_display_disconnect(client);
        wl_display_destroy_clients(display);
        wl_display_destroy(display);
    }

    void offer()
    {
        wl_global_create(display, &zwp_idle_inhibit_manager_v1_interface, 1, this, bindManager);
    }

    /// Lets both ends say and hear all that is under way: each round is an answer to the one
    /// before.
    void exchange()
    {
        for (int round = 0; round < 5; ++round) {
            wl_display_flush(client);
            wl_event_loop_dispatch(wl_display_get_event_loop(display), 0);
            wl_display_flush_clients(display);
            while (wl_display_prepare_read(client) != 0) {
                wl_display_dispatch_pending(client);
            }
            pollfd readable = {wl_display_get_fd(client), POLLIN, 0};
            if (poll(&readable, 1, 0) > 0) {
                wl_display_read_events(client);
            } else {
                wl_display_cancel_read(client);
            }
            wl_display_dispatch_pending(client);
        }
    }

    wl_display* client;
    QStringList asked;

private:
    static void destroyResource(wl_client*, wl_resource* resource)
    {
        wl_resource_destroy(resource);
    }

    static Compositor* of(wl_resource* resource)
    {
        return static_cast<Compositor*>(wl_resource_get_user_data(resource));
    }

    static void bindCompositor(wl_client* client, void* self, uint32_t, uint32_t id)
    {
        using Call = void (*)(wl_client*, wl_resource*, uint32_t);
        static const Call CALLS[] = {
            [](wl_client* its, wl_resource*, uint32_t surface) {
                static const decltype(&destroyResource) SURFACE_CALLS[] = {destroyResource};
                wl_resource* made = wl_resource_create(its, &wl_surface_interface, 1, surface);
                wl_resource_set_implementation(made, SURFACE_CALLS, nullptr, nullptr);
            },
        };
        wl_resource* made = wl_resource_create(client, &wl_compositor_interface, 1, id);
        wl_resource_set_implementation(made, CALLS, self, nullptr);
    }

    static void bindManager(wl_client* client, void* self, uint32_t, uint32_t id)
    {
        struct Calls
        {
            void (*destroy)(wl_client*, wl_resource*);
            void (*create)(wl_client*, wl_resource*, uint32_t, wl_resource*);
        };
        static const Calls CALLS = {destroyResource, createInhibitor};
        wl_resource* made =
            wl_resource_create(client, &zwp_idle_inhibit_manager_v1_interface, 1, id);
        wl_resource_set_implementation(
            made, &CALLS, self, [](wl_resource* gone) { of(gone)->asked.append("manager gone"); });
        static_cast<Compositor*>(self)->asked.append("manager");
    }

    static void createInhibitor(wl_client* client, wl_resource* manager, uint32_t id,
                                wl_resource* surface)
    {
        static const decltype(&destroyResource) CALLS[] = {destroyResource};
        wl_resource* made = wl_resource_create(client, &zwp_idle_inhibitor_v1_interface, 1, id);
        wl_resource_set_implementation(
            made, CALLS, of(manager), [](wl_resource* gone) { of(gone)->asked.append("lets go"); });
        of(manager)->asked.append(QString("holds for %1").arg(wl_resource_get_id(surface)));
    }

    wl_display* display;
};

/// A window's surface, of a connection of its own.
wl_surface* newSurface(Compositor& compositor)
{
    struct Finder
    {
        wl_compositor* found = nullptr;
    } finder;
    static const wl_registry_listener LISTENER = {
        [](void* self, wl_registry* registry, uint32_t name, const char* interface, uint32_t) {
            if (qstrcmp(interface, wl_compositor_interface.name) == 0) {
                static_cast<Finder*>(self)->found = static_cast<wl_compositor*>(
                    wl_registry_bind(registry, name, &wl_compositor_interface, 1));
            }
        },
        [](void*, wl_registry*, uint32_t) {}};
    wl_registry* registry = wl_display_get_registry(compositor.client);
    wl_registry_add_listener(registry, &LISTENER, &finder);
    compositor.exchange();
    wl_registry_destroy(registry);
    wl_surface* surface = wl_compositor_create_surface(finder.found);
    wl_compositor_destroy(finder.found);
    return surface;
}

} // namespace

/// The wish to be kept awake, as the compositor hears it.
class IdleRequestsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void heldAndLetGo();
    void offeredLater();
    void offeredTwice();
    void notOffered();
    void surfaceThatIsGone();
    void surfaceThatDiesFirst();

private:
    void ask();

    std::unique_ptr<Compositor> compositor;
    std::unique_ptr<platform::IdleRequests> requests;
    wl_surface* surface = nullptr;
    QString holds; ///< What the compositor hears when it is to be awake for the surface.
};

void IdleRequestsTest::init()
{
    compositor = std::make_unique<Compositor>();
    surface = newSurface(*compositor);
    QVERIFY(surface);
    holds = QString("holds for %1").arg(wl_proxy_get_id(reinterpret_cast<wl_proxy*>(surface)));
}

void IdleRequestsTest::cleanup()
{
    requests.reset();
    // Nothing of all that was against the protocol.
    QCOMPARE(wl_display_get_error(compositor->client), 0);
    if (surface) {
        wl_surface_destroy(surface);
        surface = nullptr;
    }
    compositor.reset();
}

void IdleRequestsTest::ask()
{
    requests =
        std::make_unique<platform::IdleRequests>(compositor->client, [this] { return surface; });
    compositor->exchange();
}

void IdleRequestsTest::heldAndLetGo()
{
    compositor->offer();
    ask();
    QVERIFY(requests->isHeld());
    QCOMPARE(compositor->asked, QStringList({"manager", holds}));
    requests.reset();
    compositor->exchange();
    QCOMPARE(compositor->asked, QStringList({"manager", holds, "lets go", "manager gone"}));
}

void IdleRequestsTest::offeredLater()
{
    ask();
    QVERIFY(!requests->isHeld());
    compositor->offer();
    compositor->exchange();
    QVERIFY(requests->isHeld());
    QCOMPARE(compositor->asked, QStringList({"manager", holds}));
}

void IdleRequestsTest::offeredTwice()
{
    compositor->offer();
    compositor->offer();
    ask();
    QCOMPARE(compositor->asked, QStringList({"manager", holds}));
}

void IdleRequestsTest::notOffered()
{
    ask();
    QVERIFY(!requests->isHeld());
    QCOMPARE(compositor->asked, QStringList());
}

void IdleRequestsTest::surfaceThatIsGone()
{
    wl_surface_destroy(surface);
    surface = nullptr;
    compositor->offer();
    ask();
    QVERIFY(!requests->isHeld());
    QCOMPARE(compositor->asked, QStringList());
}

void IdleRequestsTest::surfaceThatDiesFirst()
{
    compositor->offer();
    ask();
    wl_surface_destroy(surface);
    surface = nullptr;
    compositor->exchange();
    requests.reset();
    compositor->exchange();
    QCOMPARE(compositor->asked, QStringList({"manager", holds, "lets go", "manager gone"}));
}

QTEST_GUILESS_MAIN(IdleRequestsTest)
#include "idlerequeststest.moc"
