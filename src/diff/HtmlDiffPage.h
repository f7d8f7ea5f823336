#pragma once
#include <QString>

/// Builds the self-contained page that diffs two HTML documents, numbers the edits and reports
/// the edit count and content height to its host over named message channels.
class HtmlDiffPage
{
public:
    /// Channel on which the page posts its number of edits (an integer).
    static constexpr auto editCountChannel = "editCountHandler";
    /// Channel on which the page posts its content height in CSS pixels (a number).
    static constexpr auto contentHeightChannel = "contentHeightHandler";

    /// The panel's appearance, which the page's colours follow.
    enum class Appearance { light, dark };

    /// The complete page for one (original, fixed) pair, as one self-contained document.
    [[nodiscard]] static QString build(const QString& originalHtml, const QString& fixedHtml,
                                       Appearance appearance = Appearance::light);

    /// The text as a JavaScript template literal, backticks included.
    [[nodiscard]] static QString templateLiteral(const QString& text);

    /// The script that moves the highlighted edit to the given index.
    [[nodiscard]] static QString scrollToEditScript(int index);

    /// The script that switches a loaded page to another appearance, without reloading it.
    [[nodiscard]] static QString appearanceScript(Appearance appearance);

    /// The diff script the page carries; empty (and logged) when the resource is missing.
    [[nodiscard]] static QString diffScript();

    /// The page's style sheet, light and dark appearance (dark applies under the root's class "dark").
    [[nodiscard]] static QString styleSheet();
};
