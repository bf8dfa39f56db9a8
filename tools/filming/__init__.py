"""The parts of the tools that make films of the show, and look at them:

    frames        all frames of a show, without waiting for them
    flashes       how often they flash
    presentation  when each frame is to be seen in a film of constant rate
    development   makes the film
    loop          a few seconds that begin again where they end
"""
