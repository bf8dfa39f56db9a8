# Each test of src/effects and what it links.
pixmoth_add_test(effects effectbasetest)
pixmoth_add_test(effects framebitmaptest logcapture)
pixmoth_add_test(effects nzoomertest)
pixmoth_add_test(effects radialeffecttest)
pixmoth_add_test(effects wireframestest)
