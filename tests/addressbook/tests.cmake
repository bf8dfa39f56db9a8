# Each test of src/addressbook and what it links.
pixmoth_add_test(addressbook addressbooktest fakeservice privatebus probe)
pixmoth_add_test(addressbook namesfuzztest logcapture)
pixmoth_add_test(addressbook vcardfolderstest steadyclock)
pixmoth_add_test(addressbook vcardlinetest)
pixmoth_add_test(addressbook vcardreadertest steadyclock)
pixmoth_add_test(addressbook visiblenametest)
