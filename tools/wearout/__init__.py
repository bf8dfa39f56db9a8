"""The parts of tools/endurance:

    commandline   options, the kinds of trials, and the order of things
    trials        starts the program, waits for its end, and looks at what is left
    starts        starts ended by a key, by a signal, by the death of the screen
    sizes         storms of resizes, and screens of other sizes
    services, servicecases
                  services that are missing, fail, or do not answer
    frozen        sound servers that freeze, go or come in the midst of the show
    shows         whole shows in a row, in one process
"""
