// Child processes for the tool tests: output goes to temporary files, so a
// chatty program can never block on a full pipe.
#include "CommandRunner.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "TempDir.h"
#include "TestFiles.h"

namespace kvtool {
namespace {

// Exit status of a child whose exec failed.
constexpr int kExecFailed = 127;

[[noreturn]] void RunChild(const std::vector<std::string>& argv, const std::map<std::string, std::string>& env,
                           const std::string& workDir, int in, int out, int err)
{
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    for (const auto& [name, value] : env)
        setenv(name.c_str(), value.c_str(), 1);
    if (!workDir.empty() && chdir(workDir.c_str()) != 0)
        _exit(kExecFailed);
    std::vector<char*> args;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    execvp(args[0], args.data());
    _exit(kExecFailed);
}

}  // namespace

CommandResult RunCommand(const std::vector<std::string>& argv, const std::string& input,
                         const std::map<std::string, std::string>& env, const std::string& workDir)
{
    CommandResult result;
    if (argv.empty())
        return result;
    kvtest::TempDir dir;
    std::string inPath = dir.File("stdin");
    std::string outPath = dir.File("stdout");
    std::string errPath = dir.File("stderr");
    kvtest::WriteFile(inPath, input);
    int in = open(inPath.c_str(), O_RDONLY);
    int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = fork();
    if (pid == 0)
        RunChild(argv, env, workDir, in, out, err);
    close(in);
    close(out);
    close(err);
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status))
        result.status = WEXITSTATUS(status);
    result.out = kvtest::ReadFile(outPath);
    result.err = kvtest::ReadFile(errPath);
    return result;
}

bool HaveProgram(const std::string& program)
{
    if (program.find('/') != std::string::npos)
        return access(program.c_str(), X_OK) == 0;
    const char* path = std::getenv("PATH");
    std::string dirs = path ? path : "";
    std::size_t start = 0;
    while (start <= dirs.size()) {
        std::size_t end = dirs.find(':', start);
        std::string dir = dirs.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (!dir.empty() && access((dir + "/" + program).c_str(), X_OK) == 0)
            return true;
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return false;
}

}  // namespace kvtool
