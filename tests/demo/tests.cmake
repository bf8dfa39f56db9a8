# Each test of src/demo and what it links.
pixmoth_add_test(demo timesteptest testclock logcapture)
