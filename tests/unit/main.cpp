// Runs the unit tests of one folder inside a private copy of this machine, so that fixed paths are tested as
// they are.
#include <cstdio>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

bool IsInPrivateMachine() {
    struct stat info {};
    return stat("/run/private-machine/changes", &info) == 0;
}

/// Starts this program again inside the private copy; returns only when that fails.
void EnterPrivateMachine(char** arguments) {
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length < 0) return;
    self[length] = '\0';
    std::vector<char*> command = {const_cast<char*>(PRIVATE_MACHINE), self};
    for (char** argument = arguments + 1; *argument != nullptr; ++argument) command.push_back(*argument);
    command.push_back(nullptr);
    execv(PRIVATE_MACHINE, command.data());
}

}  // namespace

int main(int argc, char** argv) {
    if (!IsInPrivateMachine()) {
        EnterPrivateMachine(argv);
        std::perror(PRIVATE_MACHINE);
        return 1;
    }
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
