"""The parts of tools/try-releases:

    commandline   options, and the order of things
    system        a small Debian in a folder, and what is run in it
    trial         one release: its steps, and what came of them
    readings      reads what ./check and ./play have said
    table         a line for each release
"""
