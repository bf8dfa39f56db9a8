# Each test of src/app and what it links.
