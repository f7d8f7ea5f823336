# HTML diff script, page builder and web view.
list(APPEND TEMBREL_GUI_RESOURCES diff/htmldiff.js)
