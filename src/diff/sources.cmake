# The word diff (plain text) and the HTML diff keep their file lists apart.
include(diff/word.cmake)
include(diff/html.cmake)
