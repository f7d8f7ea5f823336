#include "diff/HtmlDiffPage.h"

#include "core/Logging.h"

#include <QFile>
#include <QRegularExpression>
#include <QUuid>

namespace {

const auto diffScriptResource = QStringLiteral(":/Tembrel/diff/htmldiff.js");

const auto styleSheetText = QStringLiteral(R"css(
*, *::before, *::after { box-sizing: border-box; }
html { background: transparent; }
body {
  font-family: -apple-system, BlinkMacSystemFont, "Segoe UI", Cantarell, "Noto Sans", Ubuntu, "Helvetica Neue", Arial, sans-serif;
  font-size: 13px; line-height: 1.5; padding: 10px 14px; margin: 0; color: #1a1a1a; background: transparent;
}
#diff-content, .diff-content { white-space: pre-wrap; word-wrap: break-word; }
p, div, span, ul, ol, li, h1, h2, h3, h4, h5, h6, blockquote,
table, caption, thead, tbody, tfoot, tr, td, th,
section, article, header, footer, nav, aside, main,
b, strong, i, em, u, s, strike, a, br {
  background-color: transparent !important; font-family: inherit !important; font-size: inherit !important;
}
ins, .diffins, .diffmod ins {
  background: rgba(45, 122, 79, 0.15); text-decoration: none; border-radius: 2px; padding: 0 1px;
}
del, .diffdel, .diffmod del {
  background: rgba(255, 62, 62, 0.15); text-decoration: line-through; text-decoration-color: rgba(255, 62, 62, 0.6);
  border-radius: 2px; padding: 0 1px;
}
.current { outline: 2px solid rgb(230, 126, 34); outline-offset: 1px; }
hr {
  display: block !important; width: 100%; height: 0; border: none; border-top: 1px solid rgba(0, 0, 0, 0.2);
  margin: 16px 0;
}
ul, ol { padding-inline-start: 20px; margin: 4px 0; }
ul ul, ul ol, ol ul, ol ol { padding-inline-start: 24px; margin: 2px 0; }
li { margin: 1px 0; }
li p { display: inline; margin: 0; }
h1, h2, h3, h4, h5, h6 { margin: 12px 0 6px; line-height: 1.3; font-weight: 600; }
h1 { font-size: 1.4em !important; }
h2 { font-size: 1.25em !important; }
h3 { font-size: 1.1em !important; }
h4, h5, h6 { font-size: 1em !important; }
p { margin: 6px 0; }
/* A paragraph holding a rule; the page's script marks it (this engine has no :has()). */
p.holds-rule { margin: 0; padding: 0; line-height: 0; }
a { color: inherit; text-decoration: underline; text-decoration-color: rgba(0, 0, 0, 0.3); }
blockquote { margin: 8px 0; padding-left: 12px; border-left: 3px solid rgba(0, 0, 0, 0.15); opacity: 0.85; }
code, pre {
  font-family: ui-monospace, "SF Mono", Menlo, "DejaVu Sans Mono", "Liberation Mono", monospace; font-size: 0.9em;
}
code { background: rgba(0, 0, 0, 0.06); padding: 1px 4px; border-radius: 3px; }
pre { background: rgba(0, 0, 0, 0.04); padding: 8px 10px; border-radius: 4px; overflow-x: auto; margin: 8px 0; }
pre code { background: none; padding: 0; border-radius: 0; font-size: inherit; }
table { border-collapse: collapse; margin: 8px 0; }
td, th { padding: 4px 8px; border: 1px solid rgba(0, 0, 0, 0.12); }
th { background-color: rgba(0, 0, 0, 0.04) !important; font-weight: 600; }
img { max-width: 100%; height: auto; }
/* The panel's appearance, not the system's, decides: the host sets it on the root element. */
html.dark body { color: #f5f5f7; }
html.dark ins, html.dark .diffins, html.dark .diffmod ins { background: rgba(45, 122, 79, 0.3); }
html.dark del, html.dark .diffdel, html.dark .diffmod del {
  background: rgba(255, 62, 62, 0.3); text-decoration-color: rgba(255, 62, 62, 0.8);
}
html.dark hr { border-top-color: rgba(255, 255, 255, 0.2); }
html.dark a { text-decoration-color: rgba(255, 255, 255, 0.3); }
html.dark blockquote { border-left-color: rgba(255, 255, 255, 0.2); }
html.dark code { background: rgba(255, 255, 255, 0.1); }
html.dark pre { background: rgba(255, 255, 255, 0.06); }
html.dark pre code { background: none; }
html.dark td, html.dark th { border-color: rgba(255, 255, 255, 0.12); }
html.dark th { background-color: rgba(255, 255, 255, 0.06) !important; }
)css");

// Pairs a replacement's halves under one index, even with whitespace between them.
const auto numberingScript = QStringLiteral(R"js(
function postToHost(channel, value) {
  var handlers = window.webkit && window.webkit.messageHandlers;
  if (handlers && handlers[channel]) {
    handlers[channel].postMessage(value);
  }
}
(function () {
  var diffResult = htmldiff(originalHTML, fixedHTML);
  var holder = document.createElement('div');
  holder.innerHTML = diffResult;
  var numbered = new Set();
  var index = 0;
  holder.querySelectorAll('del, ins').forEach(function (element) {
    if (numbered.has(element)) {
      return;
    }
    if (element.tagName === 'DEL' && element.classList.contains('diffmod')) {
      var sibling = element.nextSibling;
      while (sibling && sibling.nodeType === Node.TEXT_NODE && /^\s*$/.test(sibling.textContent)) {
        sibling = sibling.nextSibling;
      }
      if (sibling && sibling.nodeType === Node.ELEMENT_NODE && sibling.tagName === 'INS'
          && sibling.classList.contains('diffmod')) {
        element.setAttribute('data-edit-idx', String(index));
        sibling.setAttribute('data-edit-idx', String(index));
        numbered.add(element);
        numbered.add(sibling);
        index += 1;
        return;
      }
    }
    element.setAttribute('data-edit-idx', String(index));
    numbered.add(element);
    index += 1;
  });
  holder.querySelectorAll('p > hr').forEach(function (rule) {
    rule.parentElement.classList.add('holds-rule');
  });
  document.getElementById('diff-content').innerHTML = holder.innerHTML;
  postToHost('editCountHandler', index);
  postToHost('contentHeightHandler', document.body.scrollHeight);
})();
)js");

const auto navigationScript = QStringLiteral(R"js(
var currentEditElement = null;
function scrollToEdit(index) {
  var element = document.querySelector('[data-edit-idx="' + Number(index) + '"]');
  if (!element) {
    return;
  }
  if (currentEditElement) {
    currentEditElement.classList.remove('current');
  }
  element.classList.add('current');
  element.scrollIntoView({ behavior: 'smooth', block: 'center' });
  currentEditElement = element;
}
function setAppearance(appearance) {
  document.documentElement.classList.toggle('dark', appearance === 'dark');
}
document.addEventListener('DOMContentLoaded', function () {
  // The first edit, unless the host has already asked for another while the page settled.
  setTimeout(function () { if (!currentEditElement) { scrollToEdit(0); } }, 100);
});
)js");

// The documents sit inside a script element: a closing script tag or a comment opener in them
// would end or derail it. Inside a template literal "\/" and "\!" read back as "/" and "!".
QString guardScriptElement(QString literal)
{
    static const QRegularExpression closingScript(QStringLiteral("</(script)"),
                                                  QRegularExpression::CaseInsensitiveOption);
    literal.replace(closingScript, QStringLiteral("<\\/\\1"));
    literal.replace(QStringLiteral("<!--"), QStringLiteral("<\\!--"));
    return literal;
}

QString appearanceName(HtmlDiffPage::Appearance appearance)
{
    return appearance == HtmlDiffPage::Appearance::dark ? QStringLiteral("dark") : QStringLiteral("light");
}

} // namespace

QString HtmlDiffPage::templateLiteral(const QString& text)
{
    // Backslashes first, so that the escapes added next are not doubled again.
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    escaped.replace(QLatin1Char('`'), QStringLiteral("\\`"));
    escaped.replace(QLatin1Char('$'), QStringLiteral("\\$"));
    return QLatin1Char('`') + escaped + QLatin1Char('`');
}

QString HtmlDiffPage::scrollToEditScript(int index)
{
    return QStringLiteral("scrollToEdit(") + QString::number(index) + QLatin1Char(')');
}

QString HtmlDiffPage::appearanceScript(Appearance appearance)
{
    return QStringLiteral("setAppearance('") + appearanceName(appearance) + QStringLiteral("')");
}

QString HtmlDiffPage::diffScript()
{
    static const QString script = []() -> QString {
        QFile file(diffScriptResource);
        if (!file.open(QIODevice::ReadOnly)) {
            qCWarning(lcDiff) << "HTML diff script missing from the resources:" << diffScriptResource;
            return QString();
        }
        return QString::fromUtf8(file.readAll());
    }();
    return script;
}

QString HtmlDiffPage::styleSheet()
{
    return styleSheetText;
}

QString HtmlDiffPage::build(const QString& originalHtml, const QString& fixedHtml, Appearance appearance)
{
    // Inline event handlers in pasted markup must not run: only the page's own script may.
    const QString nonce = QUuid::createUuid().toString(QUuid::Id128);
    const QString policy = QStringLiteral("default-src 'none'; img-src * data:; style-src 'unsafe-inline'; "
                                          "script-src 'nonce-")
        + nonce + QLatin1Char('\'');

    return QStringLiteral("<!DOCTYPE html><html class=\"") + appearanceName(appearance)
        + QStringLiteral("\"><head><meta charset=\"utf-8\">"
                          "<meta http-equiv=\"Content-Security-Policy\" content=\"")
        + policy + QStringLiteral("\"><style>") + styleSheetText
        + QStringLiteral("</style></head><body><div id=\"diff-content\"></div><script nonce=\"") + nonce
        + QStringLiteral("\">\n") + diffScript()
        + QStringLiteral("\nvar originalHTML = ") + guardScriptElement(templateLiteral(originalHtml))
        + QStringLiteral(";\nvar fixedHTML = ") + guardScriptElement(templateLiteral(fixedHtml))
        + QStringLiteral(";\n") + numberingScript + navigationScript
        + QStringLiteral("</script></body></html>");
}
