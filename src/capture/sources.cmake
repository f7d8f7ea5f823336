# Files of the capture subsystem; see src/CMakeLists.txt for the lists.
# Parsers and writers of the clipboard's formats need no GUI; reading the clipboard and laying
# out HTML do.
list(APPEND TEMBREL_CORE_SOURCES
  capture/ClipboardTypes.h
  capture/ClipboardContent.h
  capture/ChromiumCustomData.h capture/ChromiumCustomData.cpp
  capture/QuillDeltaParser.h capture/QuillDeltaParser.cpp
  capture/HtmlText.h capture/HtmlText.cpp
  capture/RichText.h capture/RichText.cpp
  capture/RtfCodePage.h capture/RtfCodePage.cpp
  capture/RtfKeywords.h capture/RtfKeywords.cpp
  capture/RtfReader.h capture/RtfReader.cpp
  capture/RtfWriter.h capture/RtfWriter.cpp
  capture/TerminalApps.h capture/TerminalApps.cpp
)
list(APPEND TEMBREL_GUI_SOURCES
  capture/HtmlDocument.h capture/HtmlDocument.cpp
  capture/ClipboardManager.h capture/ClipboardManager.cpp
  capture/SelectionManager.h capture/SelectionManager.cpp
)
