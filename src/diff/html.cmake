# HTML diff script, page builder and web view.
list(APPEND TEMBREL_GUI_SOURCES
  diff/HtmlDiffPage.h diff/HtmlDiffPage.cpp
  diff/HtmlDiffWarmup.h diff/HtmlDiffWarmup.cpp
  diff/DiffPageScheme.h diff/DiffPageScheme.cpp
  diff/DiffWebViewCoordinator.h diff/DiffWebViewCoordinator.cpp
)
list(APPEND TEMBREL_QML_FILES diff/DiffWebView.qml)
list(APPEND TEMBREL_GUI_RESOURCES diff/htmldiff.js)

# Qt 6.4's generated QML type registrations include headers by file name only.
cmake_language(DEFER CALL target_include_directories tembrel_gui PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/diff)
