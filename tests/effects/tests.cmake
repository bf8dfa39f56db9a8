# Each test of src/effects and what it links.
