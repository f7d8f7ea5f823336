# The onboarding window: welcome, the permission to send keys, and a first fix.
list(APPEND TEMBREL_CORE_SOURCES
  settings/OnboardingSuccess.h settings/OnboardingSuccess.cpp
)
list(APPEND TEMBREL_GUI_SOURCES
  settings/OnboardingTexts.h
  settings/TitleFont.h settings/TitleFont.cpp
  settings/OnboardingController.h settings/OnboardingController.cpp
)
list(APPEND TEMBREL_QML_FILES
  settings/OnboardingView.qml
  settings/OnboardingTheme.qml
  settings/OnboardingPageIndicator.qml
  settings/OnboardingNotice.qml
  settings/OnboardingButton.qml
  settings/OnboardingWelcomePage.qml
  settings/OnboardingPermissionPage.qml
  settings/OnboardingTryPage.qml
)
list(APPEND TEMBREL_GUI_RESOURCES
  settings/icons/chevron-left.svg
  settings/icons/arrow-right.svg
  settings/icons/gearshape.svg
  settings/icons/checkmark-circle-fill.svg
)
