# Each test of src/app and what it links.
pixmoth_add_test(app demowindowgltest fakecontacts fakedeviceinfo glrecorder
  RUNS contextBringsTheShow resizeSetsTheViewportOnly surfaceThatWasNotToldIsWoken
    everyTickIsAFrame endOfTheShowEndsTheLoop deathFreesTheShowWithItsContext
    boxWhileLoadingMakesNoSecondShow givingUpOutlastsEventsBeforeTheLoop)
pixmoth_add_test(app mainwindowgltest fakecontacts logcapture)
target_include_directories(mainwindowgltest PRIVATE
  ${PROJECT_BINARY_DIR}/src/pixmoth-show_autogen/include)
pixmoth_add_test(app programgltest fakeservice privatebus)
target_compile_definitions(programgltest PRIVATE PIXMOTH_PROGRAM="$<TARGET_FILE:pixmoth>")
add_dependencies(programgltest pixmoth)
