# Sets of shaders for renderergltest to put in place of ours: three in which one does not compile,
# and one in which the attributes stand in another order.
pixmoth_add_test(graphics renderergltest)
foreach(set vertex palette fragment backwards)
  set(qrc ${CMAKE_CURRENT_SOURCE_DIR}/graphics/brokenshaders/${set}.qrc)
  set(rcc ${CMAKE_CURRENT_BINARY_DIR}/broken-${set}.rcc)
  add_custom_command(OUTPUT ${rcc}
    COMMAND Qt5::rcc --binary --output ${rcc} ${qrc}
    DEPENDS ${qrc} ${CMAKE_CURRENT_SOURCE_DIR}/graphics/brokenshaders/broken.glsl
      ${CMAKE_CURRENT_SOURCE_DIR}/graphics/brokenshaders/backwards.glsl
    VERBATIM)
  target_sources(renderergltest PRIVATE ${rcc})
endforeach()
target_compile_definitions(renderergltest PRIVATE BROKEN_SHADERS="${CMAKE_CURRENT_BINARY_DIR}")
