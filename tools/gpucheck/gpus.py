"""Which GPUs there are, and which phones have them. Another one is another entry here."""

from dataclasses import dataclass, field


@dataclass(frozen=True)
class Gpu:
    name: str
    renderer: str  # Part of what the driver calls itself, to know that it is for this one.
    driver: str  # One of DRIVERS.
    figure: str  # Of the driver's, the one that counts what a fragment is made with.
    unit: str  # What that counts.
    settings: dict = field(default_factory=dict)
    counted_times: int = 1  # How often the driver counts each.


@dataclass(frozen=True)
class Phone:
    """At its highest clock. In each clock so many units of the GPU's figure are done, by all of its
    cores, when none of them waits."""

    name: str
    gpu: str
    clock_mhz: int
    clock_from: str
    units_a_clock: int
    units_from: str

    def seconds(self, units):
        return units / (self.clock_mhz * 1e6 * self.units_a_clock)


# Mesa's drivers.
DRIVERS = ("lima", "panfrost", "freedreno", "etnaviv", "v3d")

GPUS = {gpu.name: gpu for gpu in (
    # The stand-in has a Mali-450: another number of the same cores.
    Gpu("Mali-400", "Mali450", "lima", "inst", "instruction words",
        settings={"LIMA_DEBUG": "shaderdb"}),
    Gpu("Mali-T860", "Mali-T860", "panfrost", "bundles", "bundles",
        settings={"PAN_GPU_ID": "860"}),
    Gpu("Mali-G52", "Mali-G52", "panfrost", "tuples", "tuples",
        settings={"PAN_GPU_ID": "7212"}),
    Gpu("GC7000L", "GC7000", "etnaviv", "instructions", "instructions",
        # It counts the words of an instruction, of which there are four.
        settings={"ETNA_SHIM_GPU": "GC7000L", "ETNA_MESA_DEBUG": "shaderdb"}, counted_times=4),
    Gpu("Adreno 630", "FD630", "freedreno", "inst", "instructions",
        settings={"FD_GPU_ID": "630", "FD_MESA_DEBUG": "shaderdb"}),
    Gpu("VideoCore VI", "V3D 4.2", "v3d", "inst", "instructions"),
)}

DEVICE_TREE = "the device tree of Linux 6.12"

PHONES = (
    Phone("PinePhone", "Mali-400", 432, DEVICE_TREE, 2,
          "two fragment processors, one word each"),
    Phone("PinePhone Pro", "Mali-T860", 500, "the maker; Linux allows 800", 4,
          "four cores, one bundle each, though each has two pipes for arithmetic"),
    Phone("Librem 5", "GC7000L", 800, DEVICE_TREE, 4,
          "four shader cores, one instruction on four numbers each"),
    Phone("OnePlus 6", "Adreno 630", 710, DEVICE_TREE, 256,
          "two shader processors of 128 lanes, one number a lane"),
    Phone("Raspberry Pi 4", "VideoCore VI", 500, "the maker", 32,
          "eight processors, each four fragments a clock"),
)
