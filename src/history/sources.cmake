# Files of the history subsystem; see src/CMakeLists.txt for the lists.
