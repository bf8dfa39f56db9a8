pixmoth_add_test(platform soundsinktest)
target_link_libraries(soundsinktest PRIVATE PkgConfig::GStreamer)

if(PIXMOTH_IDLE_INHIBIT)
  pixmoth_add_test(platform blankingpausetest)
  target_link_libraries(blankingpausetest PRIVATE PkgConfig::XcbScreensaver)
  pixmoth_add_test(platform idleinhibitorgltest)
  target_link_libraries(idleinhibitorgltest PRIVATE Qt5::GuiPrivate)
  # The compositor is in the test itself.
  pkg_check_modules(WaylandServer REQUIRED IMPORTED_TARGET wayland-server)
  pixmoth_add_test(platform idlerequeststest)
  target_link_libraries(idlerequeststest PRIVATE PkgConfig::WaylandClient PkgConfig::WaylandServer)
endif()
