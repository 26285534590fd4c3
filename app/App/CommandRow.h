// One command of the command line as data. Dispatch, usage texts, --help, the man page and the
// shell completions are all made from rows like this one.
#pragma once

namespace tramix {

// Links a row to the function that runs it; the dispatch switches over it, so a command without
// one does not compile.
enum class CommandId {
    list,
    run,
    wheel,
    renderWheel,
    renderIcon,
    renderEditor,
    renderScene,
    renderOg,
    renderShelf,
    renderMenubarIcon,
    renderMenu,
    renderDmgBackground,
    renderWelcome,
    renderSettings,
    installIntegration,
    removeIntegration,
    help,
    version,
};

// The words a command's first argument completes to.
enum class ArgumentWords { none, modes, operations, arts };

struct CommandRow {
    CommandId id;
    const char* name;
    // After the name; "{modes}" stands for the mode words joined by "|".
    const char* arguments;
    const char* summary; // German, one line
    ArgumentWords words = ArgumentWords::none;
    // The first argument may be a file instead of one of the words.
    bool wordsOptional = false;
    // Arguments after the first (and a first without words) complete to file names.
    bool files = false;
    // Draws with fonts and a paint engine, but needs no screen.
    bool draws = false;
};

} // namespace tramix
