// Runs a program of the system under test (eplview, the spooler's tools) as
// a child process with given arguments, standard input and environment, and
// collects its exit status and output.
#ifndef KV_TESTS_TOOLS_COMMANDRUNNER_H
#define KV_TESTS_TOOLS_COMMANDRUNNER_H

#include <map>
#include <string>
#include <vector>

namespace kvtool {

struct CommandResult {
    int status = -1;  // exit status; -1 when a signal ended the program or it could not start
    std::string out;  // standard output
    std::string err;  // standard error
};

// Runs argv[0] (searched in PATH) with argv[1..]; `input` is its standard
// input, `env` is added to (or replaces in) the environment, and a working
// folder can be given. Waits for the program to end.
CommandResult RunCommand(const std::vector<std::string>& argv, const std::string& input = "",
                         const std::map<std::string, std::string>& env = {}, const std::string& workDir = "");

// True when `program` is found in PATH (or is an executable path).
bool HaveProgram(const std::string& program);

}  // namespace kvtool

#endif
