// The subcommands of plx. Each takes the options after its name and returns
// the exit status; user mistakes leave as UserError.
#pragma once

#include <string>
#include <vector>

namespace Tannhofen::Host::Cli {

int listCommand(const std::vector<std::string>& args);
int renderCommand(const std::vector<std::string>& args);
int matrixCommand(const std::vector<std::string>& args);
int demoCommand(const std::vector<std::string>& args);
int remoteMapCommand(const std::vector<std::string>& args);

} // namespace Tannhofen::Host::Cli
