# Each test of src/demo and what it links.
pixmoth_add_test(demo timesteptest testclock logcapture)
pixmoth_add_test(demo showgltest fakecontacts fakedeviceinfo glrecorder glwindow logcapture testclock
  RUNS everyFrameIsDrawnAsWritten linesAreSpokenInOrder workPerFrame)
pixmoth_add_test(demo demomaingltest fakecontacts fakedeviceinfo glrecorder glwindow logcapture
  picturecompare testclock
  RUNS
    nullWidgetIsAnAllocationFailure
    constructorSeedsTheSequence
    initLogsInThisOrder
    initLoadsEverything
    initSeedsByTheClock
    initClearsTheTargets
    accessorsNameTheMembers
    raysLeaveTheCentre
    emptyScriptEndsAtOnce
    singlePartEndsAfterItsTime
    speechHoldsThePart
    silentPartDoesNotSpeak
    switchChoosesTheColour
    titleOpensAndCloses
    otherTitleIsShownAsItStands
    captionStartsWhereTheEffectLeftThePainter
    captionFadesIn
    frameCountsFromTheSwitch
    trailsAreDimmedToTheRim
    undimmedTrailsPileUp
    latticePausesWhereDrawsAreGathered
    drawsOfAFrame
    copiesAreTurnedAndGrow
    unknownIsToldAndLeftOut
    faceComesAndGoes
    shakeIsDrawnXBeforeY
    musicStartsWithTheFirstFrame
    playerDiesFirst)
pixmoth_add_test(demo demobuildertest fakecontacts fakedeviceinfo logcapture)
pixmoth_add_test(demo demoparttest fakedeviceinfo logcapture)
pixmoth_add_test(demo picturesgltest fakecontacts fakedeviceinfo glrecorder glwindow picturecompare
  testclock
  RUNS screenIsWhatTheModelSays effectIsWhatRasterPaints)
pixmoth_add_test(demo callsgltest fakecontacts fakedeviceinfo glrecorder glwindow testclock
  RUNS setUp frame death)
