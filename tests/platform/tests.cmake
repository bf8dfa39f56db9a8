# Each test of src/platform and what it links.

# A process that makes use of the platform: its buses are those of a whole process's life.
add_executable(platformprobe platform/platformprobe.cpp)
target_link_libraries(platformprobe PRIVATE pixmoth::show)

# Pieces of this folder's own.
foreach(piece fakeservice privatebus probe)
  add_library(pixmoth-${piece} OBJECT platform/${piece}.cpp)
  target_include_directories(pixmoth-${piece} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(pixmoth-${piece} PUBLIC pixmoth-options Qt5::Test Qt5::DBus)
endforeach()
target_compile_definitions(pixmoth-probe PRIVATE PLATFORM_PROBE="$<TARGET_FILE:platformprobe>")
add_dependencies(pixmoth-probe platformprobe)

pixmoth_add_test(platform addressbooktest fakeservice privatebus probe)
pixmoth_add_test(platform servicelogtest logcapture)
pixmoth_add_test(platform busconnectiontest privatebus probe)
pixmoth_add_test(platform childprocesstest logcapture)
pixmoth_add_test(platform deadlinetest)
pixmoth_add_test(platform glsurfacetest)
pixmoth_add_test(platform inquirytest)
pixmoth_add_test(platform silentserverstest privatebus probe)
pixmoth_add_test(platform warningboxtest)
pixmoth_add_test(platform vcardfolderstest steadyclock)
pixmoth_add_test(platform vcardlinetest)
pixmoth_add_test(platform vcardreadertest steadyclock)
pixmoth_add_test(platform visiblenametest)
pixmoth_add_test(platform powermodeltest)
pixmoth_add_test(platform powertest fakeservice privatebus probe)
pixmoth_add_test(platform identitytest fakeservice privatebus probe)
pixmoth_add_test(platform screensavertest fakeservice privatebus probe)
pixmoth_add_test(platform synthesisernoisetest)
pixmoth_add_test(platform namesfuzztest logcapture)
