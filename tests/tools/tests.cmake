# Tests of the scripts in tools/ that everybody runs, and of what others decide.
foreach(name hearmusictest installpackagestest)
  pixmoth_add_test(tools ${name})
  target_compile_definitions(${name} PRIVATE TOOLS="${PROJECT_SOURCE_DIR}/tools")
endforeach()

pixmoth_add_test(tools flashmetertest)
target_link_libraries(flashmetertest PRIVATE pixmoth-flashmeter)

# The show that its authors work by, once within the test and once as they start it.
pixmoth_add_test(tools rehearsalgltest EACH)
pixmoth_add_test(tools rehearsalmusicgltest SOUND)
pixmoth_add_test(tools rehearseprogramgltest)
target_compile_definitions(rehearseprogramgltest PRIVATE TOOLS="${PROJECT_SOURCE_DIR}/tools"
  REHEARSE_PROGRAM="$<TARGET_FILE:pixmoth-rehearse>")
add_dependencies(rehearseprogramgltest pixmoth-rehearse)
foreach(name rehearsalgltest rehearsalmusicgltest)
  target_compile_definitions(${name} PRIVATE RESOURCES="${PROJECT_SOURCE_DIR}/src/resources")
  target_link_libraries(${name} PRIVATE pixmoth-rehearsal)
  target_sources(${name} PRIVATE $<TARGET_OBJECTS:pixmoth-rehearsal>)
endforeach()

# Tools that are written in Python are tested in Python.
file(GLOB python_tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/tools/*test.py)
foreach(test ${python_tests})
  get_filename_component(name ${test} NAME_WE)
  add_test(NAME ${name} COMMAND python3 -m unittest -v ${name}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/tools)
  set_tests_properties(${name} PROPERTIES
    LABELS nogl
    TIMEOUT 240
    ENVIRONMENT "PYTHONPATH=${PROJECT_SOURCE_DIR}/tools;PYTHONDONTWRITEBYTECODE=1")
endforeach()
