"""The parts of tools/gpu-check:

    commandline   options, and the order of things
    gpus          which GPUs, and which phones have them
    mesa          their drivers, built from source
    programs      the show's programs of shaders, and those that its painter makes
    compiling     has the drivers compile them, and reads what they tell
    fragments     counts what each program shades in each frame
    shares        the two together: shares of a tick

Beside them: compileprogram.cpp, a program that has a driver compile.
"""
