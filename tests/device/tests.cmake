# Each test of src/device and what it links.
