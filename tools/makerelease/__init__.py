"""The parts of tools/make-release:

    commandline   options, and the order of the steps
    packages      the Debian packages: to copy a commit, build, collect, look, compare
    contents      what a demo party gets, and which of it is the same each time
    party         makes that
    archive       the zip, and the sums

Nothing is packed that is not committed. What is released lies in build/release-pack, and nothing else
does; what is needed to make it, in build/release-work. A step that fails raises CannotStart, and one
that finds fault returns False.
"""
