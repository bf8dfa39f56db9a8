# Each test of src/graphics and what it links.
pixmoth_add_test(graphics cameratest)
pixmoth_add_test(graphics cameraviewtest testclock)
pixmoth_add_test(graphics defaulttextureloadergltest glwindow picturecompare)
pixmoth_add_test(graphics defaulttextureloadertest glrecorder logcapture)
pixmoth_add_test(graphics indexbuffertest glrecorder)
pixmoth_add_test(graphics quadgltest glrecorder glwindow picturecompare)
pixmoth_add_test(graphics quadtest glrecorder)
pixmoth_add_test(graphics renderergltest glrecorder glwindow logcapture picturecompare)
pixmoth_add_test(graphics renderertest glrecorder)
pixmoth_add_test(graphics renderstatetest)
pixmoth_add_test(graphics rendertargetgltest glrecorder glwindow picturecompare)
pixmoth_add_test(graphics texture2dgltest glwindow picturecompare)
pixmoth_add_test(graphics texture2dtest glrecorder)
pixmoth_add_test(graphics textureloadertest glrecorder)
pixmoth_add_test(graphics texturemanagertest glrecorder)
pixmoth_add_test(graphics texturetest glrecorder)
pixmoth_add_test(graphics vertexbuffertest glrecorder logcapture)

# Sets of shaders for renderergltest to put in place of ours: three in which one does not compile,
# and one in which the attributes stand in another order.
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
