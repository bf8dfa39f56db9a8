"""The parts of tools/make-bundle:

    commandline   options, and the order of things
    contents      what goes in besides libraries, and which libraries are left to the system
    elf           reads what programs and libraries ask of others
    gathering     collects the files out of a system, and lays them into a folder
    checking      looks whether a folder has all that its files ask for, and asks for nothing newer
    licences      whose all of it is, and where its sources are
    building      makes the archive, in a small Debian
    trial         plays the archive in bare systems
    pixmoth.sh    what starts the show there
"""
