"""The parts of tools/try-screens:

    commandline   options, the order of things, and the table
    cases         what is tried
    trial         one case: starts the show, looks, acts, and judges
    desks         screens with a compositor or a window manager around them
    film          what was to be seen on a screen, in which order
    cameras       what looks at a screen
    hands         what touches it
    picture       what is on a photograph
    wire          a client of a Wayland compositor
"""
