# Tests of the scripts in tools/ that everybody runs.
foreach(name hearmusictest installpackagestest)
  pixmoth_add_test(tools ${name})
  target_compile_definitions(${name} PRIVATE TOOLS="${PROJECT_SOURCE_DIR}/tools")
endforeach()
