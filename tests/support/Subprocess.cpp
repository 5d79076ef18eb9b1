#include "Subprocess.h"

#include <cstdio>
#include <sys/wait.h>

namespace Tarnwick::Test {

std::pair<int, std::string> runShell(const std::string& command) {
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe)
        return {-1, "popen failed"};
    std::string output;
    char buffer[4096];
    while (std::size_t n = fread(buffer, 1, sizeof(buffer), pipe))
        output.append(buffer, n);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

} // namespace Tarnwick::Test
