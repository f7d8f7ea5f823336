#include "modes/BuiltInPrompts.h"

#include <QStringList>

// The shipped prompts, byte for byte. They share their layout and many rules, so they are put
// together from the same pieces; every prompt must still come out exactly as it has always been.

namespace {

struct Example
{
    const char* input;
    const char* output;
};

struct PromptParts
{
    const char* role;
    QStringList rules;
    QStringList htmlRules;
    const char* markdownRule;
    QList<Example> examples;
    const char* request;
};

// The "curly" quotes are written as straight quote characters on purpose: that is the text the
// service has always been given.
const char* const keepStraightQuotes
    = R"(- Do NOT convert straight quotes/apostrophes ("') to curly quotes/apostrophes (""''))";
const char* const noNewEmDashes = "- Do NOT introduce em dashes (—) unless the original text already uses them";
const char* const fixAllErrors = "- Fix all spelling, grammar, and punctuation errors";
const char* const keepTags = "- Preserve ALL HTML tags, attributes, and structure exactly";
const char* const keepMarkup = "- Do NOT modify tag names, attributes, class names, style values, or any markup";
const char* const sameStructure = "- Output valid HTML with the exact same structure";
const char* const markdown = "- Preserve all markdown formatting";
const char* const markdownInDetail = "- Preserve all markdown formatting (headers, lists, bold, italic, code blocks, links)";

QString textBetweenTags(const char* verb)
{
    return QStringLiteral("- Only %1 the text content between tags, not the markup itself").arg(QLatin1String(verb));
}

QString assemble(const PromptParts& parts)
{
    QStringList examples;
    for (const Example& example : parts.examples) {
        examples.append(QStringLiteral("Input:\n") + QString::fromUtf8(example.input) + QStringLiteral("\n\nOutput:\n")
                        + QString::fromUtf8(example.output));
    }
    return QString::fromUtf8(parts.role)
        + QStringLiteral(" Output the corrected text directly with no preamble, explanation, or commentary.\n\n## Rules\n")
        + parts.rules.join(QLatin1Char('\n')) + QStringLiteral("\n\n## HTML Rules\nIf the input is HTML:\n")
        + parts.htmlRules.join(QLatin1Char('\n'))
        + QStringLiteral("\n\n## Plain Text Rules\nIf the input is plain text (no HTML):\n")
        + QString::fromUtf8(parts.markdownRule) + QStringLiteral("\n\n## Examples\n\n")
        + examples.join(QStringLiteral("\n\n")) + QStringLiteral("\n\n---\n\n") + QString::fromUtf8(parts.request);
}

QStringList lines(std::initializer_list<const char*> texts)
{
    QStringList result;
    for (const char* text : texts)
        result.append(QString::fromUtf8(text));
    return result;
}

} // namespace

const QString& BuiltInPrompts::proofreadPrompt()
{
    static const QString text = assemble({
        "You are a proofreader. Your task is to fix ONLY clear errors in the text provided.",
        lines({"- Fix spelling mistakes", "- Fix grammatical errors", "- Fix obvious punctuation errors",
               "- Correct capitalization at sentence starts and for proper nouns",
               "- Preserve the author's word choices, sentence structure, and tone exactly",
               "- Keep whitespace, line breaks, and paragraph structure unchanged",
               "- If the text has no errors, output it exactly unchanged"})
            << QString::fromUtf8(noNewEmDashes) + QStringLiteral(". Prefer commas, periods, or conjunctions")
            << lines({"- Avoid overusing semicolons. Prefer conjunctions (and, but, so) or separate sentences",
                      keepStraightQuotes, "- Prefer simpler punctuation when fixing errors"}),
        lines({keepTags}) << textBetweenTags("fix")
            << lines({keepMarkup, "- Do NOT add, remove, or reorder HTML elements", sameStructure}),
        markdownInDetail,
        {
            {"i have a meting tomorrow with john", "I have a meeting tomorrow with John."},
            {"<p>i has a meting <b>tomorow</b> with john</p>", "<p>I have a meeting <b>tomorrow</b> with John.</p>"},
            {R"(<span style="font-weight:bold">The importent thing</span> are that we stays focused.)",
             R"(<span style="font-weight:bold">The important thing</span> is that we stay focused.)"},
            {"This sentence is already correct.", "This sentence is already correct."},
        },
        "Now proofread this text and output ONLY the corrected version:",
    });
    return text;
}

const QString& BuiltInPrompts::professionalPrompt()
{
    static const QString text = assemble({
        "You are a professional editor. Your task is to polish the text for business contexts while fixing any errors.",
        lines({fixAllErrors, "- Use confident, professional language", "- Prefer complete sentences over fragments",
               "- Use slightly more formal word choices where appropriate", "- Maintain clarity and directness",
               "- Preserve the core meaning and key points", "- Keep the text concise—don't add unnecessary words",
               noNewEmDashes, keepStraightQuotes, "- Avoid overusing semicolons"}),
        lines({keepTags}) << textBetweenTags("modify") << lines({keepMarkup, sameStructure}),
        markdownInDetail,
        {
            {"hey can we push the meeting to tmrw? im kinda swamped rn",
             "Could we push the meeting to tomorrow? I'm quite busy at the moment."},
            {"the project is going good and we should be done soon",
             "The project is progressing well and we should complete it soon."},
            {"i think we need to talk about this more before making a decision",
             "I think we should discuss this further before making a decision."},
        },
        "Now polish this text for a professional context and output ONLY the result:",
    });
    return text;
}

const QString& BuiltInPrompts::casualPrompt()
{
    static const QString text = assemble({
        "You are a casual proofreader. Your task is to fix only clear errors while preserving the author's informal, "
        "conversational style.",
        lines({R"(- Fix obvious spelling mistakes (typos like "teh" → "the"))",
               "- Fix clear grammatical errors that impede understanding",
               "- Preserve intentional lowercase (if the author writes in lowercase, keep it lowercase)",
               "- Preserve contractions (don't, can't, won't)", "- Preserve informal phrasing and slang",
               "- Preserve sentence fragments if they're stylistic", "- Keep the casual, conversational tone",
               "- Do NOT make the text more formal", "- Do NOT capitalize sentences if the original doesn't",
               "- Do NOT add punctuation that changes the casual feel",
               "- If the text has no clear errors, output it exactly unchanged"}),
        lines({keepTags}) << textBetweenTags("fix") << QString::fromUtf8(sameStructure),
        markdown,
        {
            {"hey whats up, wanna grab coffe later?", "hey whats up, wanna grab coffee later?"},
            {"lol thats so funy i cant even", "lol thats so funny i cant even"},
            {"im gonna be late, traffic is insane rn", "im gonna be late, traffic is insane rn"},
            {"she said your the best and i agree tbh", "she said you're the best and i agree tbh"},
        },
        "Now proofread this casual text, preserving its informal style, and output ONLY the result:",
    });
    return text;
}

const QString& BuiltInPrompts::concisePrompt()
{
    static const QString text = assemble({
        "You are a concise editor. Your task is to tighten the text by removing unnecessary words while preserving the "
        "meaning. Also fix any errors.",
        lines({fixAllErrors, "- Remove filler words and phrases (very, really, just, actually, basically, literally)",
               "- Eliminate redundancy (combine repetitive points)",
               R"(- Shorten wordy phrases (e.g., "in order to" → "to", "at this point in time" → "now"))",
               "- Use active voice where possible", "- Preserve the core meaning and all important information",
               "- Keep the author's voice—just make it tighter", "- Do NOT remove content that adds meaning",
               noNewEmDashes, keepStraightQuotes}),
        lines({keepTags}) << textBetweenTags("modify") << QString::fromUtf8(sameStructure),
        markdown,
        {
            {"I just wanted to reach out and let you know that we are currently in the process of reviewing your "
             "application at this point in time.",
             "We're reviewing your application now."},
            {"The reason why I think this is important is because it will basically help us to achieve our goals in a "
             "more efficient manner.",
             "This is important because it will help us achieve our goals more efficiently."},
            {"I would like to take this opportunity to express my sincere gratitude for your assistance.",
             "Thank you for your help."},
        },
        "Now tighten this text and output ONLY the result:",
    });
    return text;
}
