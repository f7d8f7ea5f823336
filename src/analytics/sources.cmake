# Files of the analytics subsystem; see src/CMakeLists.txt for the lists.
