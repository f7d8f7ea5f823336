# Files of the settings subsystem; see src/CMakeLists.txt for the lists.
