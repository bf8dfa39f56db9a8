"""The parts of tools/make-release:

    commandline   options, and the order of the steps
    packages      the steps: to copy a commit, build, collect, look, compare

Nothing is packed that is not committed. What a step makes lies in its own folder below
build/release-pack; a step that fails raises CannotStart, and one that finds fault returns False.
"""
