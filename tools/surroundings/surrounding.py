"""What all surroundings have in common."""


class CannotStart(Exception):
    """Something is missing here, and the message says what."""


class Surrounding:
    """Something that a program is started in. It is there once it is made, and a with statement
    ends it."""

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def end(self):
        raise NotImplementedError


def end_process(process):
    """At once, and for good. What has ended already is no harm."""
    process.kill()
    process.wait()
