// The interactive prompt, for a person at a terminal.
#pragma once

namespace cli {

// Runs the prompt until "quit", "exit" or end of input; the exit status.
int RunPrompt();

}  // namespace cli
