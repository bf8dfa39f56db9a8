pixmoth_add_test(app demowindowgltest EACH)
pixmoth_add_test(app mainwindowgltest)
target_include_directories(mainwindowgltest PRIVATE
  ${PROJECT_BINARY_DIR}/src/pixmoth-show_autogen/include)

# The program by a clock that runs faster, and with a pipe for its music.
add_executable(pixmoth-hurried ${PROJECT_SOURCE_DIR}/src/app/main.cpp support/hurriedclock.cpp)
target_link_libraries(pixmoth-hurried PRIVATE pixmoth::show)
set(pipe_dir ${CMAKE_CURRENT_BINARY_DIR}/pipe)
add_executable(pixmoth-piped ${PROJECT_SOURCE_DIR}/src/app/main.cpp
  ${PROJECT_SOURCE_DIR}/src/demo/demomain.cpp)
set_target_properties(pixmoth-piped PROPERTIES AUTOMOC OFF) # The library has it.
target_compile_definitions(pixmoth-piped PRIVATE PIXMOTH_MUSIC_DIR="${pipe_dir}")
target_link_libraries(pixmoth-piped PRIVATE pixmoth::show)

pixmoth_add_test(app programgltest)
target_compile_definitions(programgltest PRIVATE PIXMOTH_PROGRAM="$<TARGET_FILE:pixmoth>"
  HURRIED_PROGRAM="$<TARGET_FILE:pixmoth-hurried>" PIPED_PROGRAM="$<TARGET_FILE:pixmoth-piped>"
  PIPE_DIR="${pipe_dir}")
add_dependencies(programgltest pixmoth pixmoth-hurried pixmoth-piped)
pixmoth_add_test(app musicgltest SOUND)
target_compile_definitions(musicgltest PRIVATE PIXMOTH_PROGRAM="$<TARGET_FILE:pixmoth>")
add_dependencies(musicgltest pixmoth)
# It waits for what is frozen, again and again.
set_tests_properties(programgltest PROPERTIES TIMEOUT 600)
