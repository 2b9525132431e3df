// Help at the prompt: the library's catalogue of functions and commands by
// group, the manuals the host hands the library, and the host's commands.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace cli {

// Stores the host's manuals in the library; call after InitializeGlobals.
void SetManuals();

void PrintHelpOverview(std::FILE *out);
// Usage and description of a function or command, by the name one types
// ("findroots") or the catalogue's label ("find roots"), or a manual.
void PrintHelpFor(const std::string &name, std::FILE *out);
void PrintHostCommands(std::FILE *out);

// The names one types for every function and command of the catalogue.
std::vector<std::string> CatalogueNames();
// The host's own commands, as typed at the start of a line.
const std::vector<std::string> &HostCommandNames();

}  // namespace cli
