# Each test of src/platform and what it links.
