# Word diff tests.
