# Word diff tests.
set(TEMBREL_WORD_DIFF_REFERENCE
  ReferenceWordDiff.h ReferenceWordDiff.cpp TextGenerator.h TextGenerator.cpp DiffFormat.h)
tembrel_add_test(tst_worddiff LABEL unit SOURCES tst_worddiff.cpp ${TEMBREL_WORD_DIFF_REFERENCE} LIBS tembrel_core)
tembrel_add_test(tst_worddiffequivalence LABEL unit SOURCES tst_worddiffequivalence.cpp ${TEMBREL_WORD_DIFF_REFERENCE}
  LIBS tembrel_core)
tembrel_add_test(tst_diffcomputer LABEL unit SOURCES tst_diffcomputer.cpp DiffFormat.h LIBS tembrel_core)
tembrel_add_test(tst_diffrenderviewmodel LABEL unit SOURCES tst_diffrenderviewmodel.cpp LIBS tembrel_gui)
tembrel_add_test(tst_clidiff LABEL unit SOURCES tst_clidiff.cpp ${PROJECT_SOURCE_DIR}/src/cli/DiffOutput.cpp LIBS tembrel_core)
target_compile_definitions(tst_clidiff PRIVATE TEMBREL_CLI_PATH="$<TARGET_FILE:tembrel-cli>")
add_dependencies(tst_clidiff tembrel-cli)
