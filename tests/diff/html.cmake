# HTML diff tests.
