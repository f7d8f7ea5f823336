#pragma once
#include <QString>

/// The words and number formats of the result panel, and the rules that choose them.
namespace PanelTexts {

/// "Copied! · 3 edits · 1.23s".
[[nodiscard]] QString successHeader(qint64 editCount, double durationSeconds);
/// "1 edit", "0 edits", "2 edits".
[[nodiscard]] QString editCountText(qint64 editCount);
/// A fix's duration: seconds with two decimals, "1.23s".
[[nodiscard]] QString durationText(double durationSeconds);
/// The error view's title for a failure message.
[[nodiscard]] QString errorTitle(const QString& message);
/// The error view's line under the title: what actually happened when that is known, otherwise
/// chosen from the message, never repeating the title's words.
[[nodiscard]] QString errorSubtitle(const QString& message, const QString& detail = {});
/// Where the highlighted edit stands among all edits, "2 of 5"; "0 of 0" without edits.
[[nodiscard]] QString editPosition(int index, int total);

/// The key cap of the paste hint on this platform.
[[nodiscard]] QString pasteKeyCap();
/// The key cap of the dismiss hint on this platform.
[[nodiscard]] QString dismissKeyCap();

} // namespace PanelTexts
