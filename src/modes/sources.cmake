# Files of the modes subsystem; see src/CMakeLists.txt for the lists.
