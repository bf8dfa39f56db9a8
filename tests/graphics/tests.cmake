# Each test of src/graphics and what it links.
