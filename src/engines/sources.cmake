# Files of the engines subsystem; see src/CMakeLists.txt for the lists.
