pixmoth_add_test(platform soundsinktest)
target_link_libraries(soundsinktest PRIVATE PkgConfig::GStreamer)
