#pragma once
#include <QString>

/// The family of the script face that writes "Tembrel" in the windows' headers: Pacifico, which
/// ships with the app, loaded on first use.
[[nodiscard]] QString titleFontFamily();
