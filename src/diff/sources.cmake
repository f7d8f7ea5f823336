# Files of the diff subsystem; see src/CMakeLists.txt for the lists.
