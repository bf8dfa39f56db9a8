# Each test of src/device and what it links.
pixmoth_add_test(device friendstest fakecontacts logcapture)
pixmoth_add_test(device speechtest logcapture)
pixmoth_add_test(device synthesisernoisetest)
pixmoth_add_test(device systemstatetest fakedeviceinfo logcapture)
