#include "CliRunner.h"

#include "support/TempDir.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sys/wait.h>

namespace Tarnwick::Test {

namespace {

std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string readAll(FILE* stream) {
    std::string text;
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof(buffer), stream)) > 0;)
        text.append(buffer, n);
    return text;
}

} // namespace

CliResult runCli(const std::vector<std::string>& arguments) {
    TempDir folder;
    std::string command = shellQuoted(TARNWICK_BINARY_DIR "/bin/tarnwick-cli");
    for (const std::string& argument : arguments)
        command += " " + shellQuoted(argument);
    command += " 2>" + shellQuoted(folder.file("stderr"));

    CliResult result;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return result;
    result.out = readAll(pipe);
    const int status = pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream err(folder.file("stderr"));
    result.err.assign(std::istreambuf_iterator<char>(err), std::istreambuf_iterator<char>());
    return result;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

} // namespace Tarnwick::Test
