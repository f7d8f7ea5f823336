#pragma once
#include <QString>

/// Orders version strings the way the Sparkle updater does, so a feed written for the macOS build
/// means the same here.
namespace SparkleVersion {

/// Negative when `a` is older than `b`, zero when they are the same version, positive when newer.
/// Digit runs compare as numbers, letter runs as text; "." and other punctuation or white space
/// separate. A number beats a letter run at the same place ("1.0.1" > "1.0b1"); when one version
/// runs out, a remaining letter run makes the longer one older ("1.0" > "1.0b1") and anything
/// else makes it newer ("1.0.1" > "1.0", and also "1.0.0" > "1.0"). Everything from the first dash
/// on is ignored ("2.0-beta.1" is "2.0").
[[nodiscard]] int compare(const QString& a, const QString& b);

} // namespace SparkleVersion
