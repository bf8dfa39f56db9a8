"""What looks at a screen: each takes the picture that is on it now, or the next new one."""

import subprocess

from surroundings.surrounding import CannotStart, Surrounding, end_process
from tryscreens.picture import Picture
from tryscreens.wire import NOBODY, Client, SharedPicture, numbers

# So long a camera waits for a change; a screen that stands still is no failure.
WAITS_S = 0.5


class Camera(Surrounding):
    """Takes pictures in the thread that films, and nowhere else."""

    def picture(self):
        """The next one; None where nothing has changed for a while."""
        raise NotImplementedError


class ScreencopyCamera(Camera):
    """Of compositors that are built on wlroots: each new picture of one output, pointer and all."""

    MANAGER_CAPTURE_OUTPUT = 0
    FRAME_DESTROY, FRAME_COPY_WITH_DAMAGE = 1, 2
    FRAME_BUFFER, FRAME_FLAGS, FRAME_READY, FRAME_FAILED, FRAME_BUFFER_DONE = 0, 1, 2, 3, 6
    UPSIDE_DOWN = 1

    def __init__(self, path, which=0):
        self.client = Client(path)
        self.shm = self.client.bind("wl_shm", 1)
        self.output = self.client.bind("wl_output", 1, which=which)
        self.manager = self.client.bind("zwlr_screencopy_manager_v1", 3)
        self.frame = NOBODY
        self.told = {}
        self.shared = None

    def on_frame(self, event, payload):
        if event == self.FRAME_BUFFER:
            pixels_format, *size = numbers(payload)
            self.told["layout"] = (pixels_format, *size)
        else:
            self.told[event] = numbers(payload)

    def picture(self):
        if self.frame == NOBODY:
            self.told = {}
            self.frame = self.client.new(self.on_frame)
            self.client.request(self.manager, self.MANAGER_CAPTURE_OUTPUT, self.frame, 1,
                                self.output)
            self.client.dispatch_until(lambda: self.told.keys() &
                                       {self.FRAME_BUFFER_DONE, self.FRAME_FAILED})
            if "layout" in self.told and self.FRAME_FAILED not in self.told:
                if not self.shared or self.shared.layout != self.told["layout"]:
                    self.forget_buffer()
                    self.shared = SharedPicture(self.client, self.shm, self.told["layout"])
                self.client.request(self.frame, self.FRAME_COPY_WITH_DAMAGE, self.shared.buffer)
        self.client.dispatch_until(lambda: self.told.keys() &
                                   {self.FRAME_READY, self.FRAME_FAILED}, WAITS_S)
        if not self.told.keys() & {self.FRAME_READY, self.FRAME_FAILED}:
            return None
        self.client.request(self.frame, self.FRAME_DESTROY)
        self.frame = NOBODY
        if self.FRAME_FAILED in self.told:
            return None
        return self.developed()

    def developed(self):
        width, height, stride = self.shared.width, self.shared.height, self.shared.stride
        pixels = self.shared.memory[:]
        if self.told.get(self.FRAME_FLAGS, (0,))[0] & self.UPSIDE_DOWN:
            pixels = b"".join(pixels[row * stride:(row + 1) * stride]
                              for row in reversed(range(height)))
        return Picture(width, height, stride, pixels)

    def forget_buffer(self):
        if self.shared:
            self.shared.destroy()
            self.shared = None

    def end(self):
        self.client.end()


class WestonCamera(Camera):
    """Of weston, which lets itself be photographed where it is started with --debug."""

    TAKE_SHOT = 0
    OUTPUT_MODE = 1
    XRGB8888 = 1

    def __init__(self, path, which=0):
        self.client = Client(path)
        self.size = None
        self.shm = self.client.bind("wl_shm", 1)
        self.output = self.client.bind("wl_output", 1, self.on_output, which)
        self.done = []
        self.shooter = self.client.bind("weston_screenshooter", 1, lambda *_: self.done.append(1))
        self.client.round_trip()
        width, height = self.size
        self.shared = SharedPicture(self.client, self.shm, (self.XRGB8888, width, height, 4 * width))

    def on_output(self, event, payload):
        if event == self.OUTPUT_MODE:
            _flags, *self.size, _refresh = numbers(payload)

    def picture(self):
        self.done.clear()
        self.client.request(self.shooter, self.TAKE_SHOT, self.output, self.shared.buffer)
        # It takes none before something changes.
        self.client.dispatch_until(lambda: self.done, WAITS_S)
        if not self.done:
            return None
        return Picture(self.shared.width, self.shared.height, self.shared.stride,
                       self.shared.memory[:])

    def end(self):
        self.client.end()


class WestonCaptureCamera(Camera):
    """Of weston from release 12 on, where it is started with --debug, too."""

    MANAGER_CREATE = 1
    OF_FRAMEBUFFER = 1
    SOURCE_CAPTURE = 1
    FORMAT, SIZE, COMPLETE, RETRY, FAILED = range(5)
    # Formats have other numbers here than those of buffers.
    OF_BUFFERS = {int.from_bytes(b"AR24", "little"): 0, int.from_bytes(b"XR24", "little"): 1}

    def __init__(self, path, which=0):
        self.client = Client(path)
        self.told = {}
        self.shared = None
        self.shm = self.client.bind("wl_shm", 1)
        output = self.client.bind("wl_output", 1, which=which)
        manager = self.client.bind("weston_capture_v1", 1)
        self.source = self.client.new(self.on_source)
        self.client.request(manager, self.MANAGER_CREATE, output, self.OF_FRAMEBUFFER, self.source)
        self.client.round_trip()

    def on_source(self, event, payload):
        self.told[event] = numbers(payload) if event in (self.FORMAT, self.SIZE) else ()

    def picture(self):
        if self.FORMAT not in self.told or self.SIZE not in self.told:
            raise CannotStart("weston does not let itself be photographed")
        (pixels_format,), (width, height) = self.told[self.FORMAT], self.told[self.SIZE]
        layout = (self.OF_BUFFERS[pixels_format], width, height, 4 * width)
        if not self.shared or self.shared.layout != layout:
            self.shared = SharedPicture(self.client, self.shm, layout)
        answers = {self.COMPLETE, self.RETRY, self.FAILED}
        for answer in answers:
            self.told.pop(answer, None)
        self.client.request(self.source, self.SOURCE_CAPTURE, self.shared.buffer)
        self.client.dispatch_until(lambda: self.told.keys() & answers)
        if self.COMPLETE not in self.told:
            return None
        return Picture(width, height, 4 * width, self.shared.memory[:])

    def end(self):
        self.client.end()


class XCamera(Camera):
    """Of a virtual X screen, pointer and all."""

    FRAMES_A_SECOND = 30

    def __init__(self, display, size):
        self.width, self.height = size
        self.film = subprocess.Popen(
            ["ffmpeg", "-loglevel", "quiet", "-nostdin", "-f", "x11grab", "-draw_mouse", "1",
             "-framerate", str(self.FRAMES_A_SECOND), "-video_size", f"{self.width}x{self.height}",
             "-i", display, "-f", "rawvideo", "-pix_fmt", "bgr0", "-"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)

    def picture(self):
        pixels = self.film.stdout.read(4 * self.width * self.height)
        if len(pixels) < 4 * self.width * self.height:
            raise CannotStart("the screen can no longer be filmed (is ffmpeg installed?)")
        return Picture(self.width, self.height, 4 * self.width, pixels)

    def end(self):
        end_process(self.film)
        self.film.stdout.close()
