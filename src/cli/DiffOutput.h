#pragma once
#include "diff/Change.h"

#include <QByteArray>

/// How removed and added words are marked in text output.
enum class DiffMarkup {
    Terminal, ///< colours: removed struck through in red, added in green
    Plain,    ///< markers: [-removed-] and {+added+}
};

/// The diff as one line of JSON: {"changes":[{"value","added","removed","trailingWhitespace"}],"editCount":N}.
[[nodiscard]] QByteArray diffAsJson(const DiffComputation &diff);

/// The fixed text with its changes marked, then the edit count on a line of its own.
[[nodiscard]] QByteArray diffAsText(const DiffComputation &diff, DiffMarkup markup);
