# Word diff, diff computer and styled diff text.
