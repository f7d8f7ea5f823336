# Files of the capture subsystem; see src/CMakeLists.txt for the lists.
