// Times commands in turn, so that whatever else the machine does falls on all of them, and compares the
// medians of the first one with those of the others.
//
//   paired ROUNDS [--before COMMAND...] (--run NAME COMMAND...)...
//
// Before each timed run the command of --before is run, untimed. Time is from before the fork until the
// process is waited for. The commands write to /dev/null; one that ends with another status than 0 ends the
// benchmark. Prints a line for each command, with tabs between: name, milliseconds, milliseconds of processor
// time (both medians), the most MiB that a run has taken, and how much the first command's milliseconds, and
// its processor time, are of these.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Command = std::vector<char*>;  // ended by a null

struct Timed {
    const char* name;
    Command command;
    std::vector<double> elapsed;     // milliseconds, a run each
    std::vector<double> processors;  // milliseconds, user and system, of the process and those it waited for
    double megabytes = 0;  // at its peak, of the process itself or the largest of those it waited for
};

struct Plan {
    int rounds = 0;
    Command before;
    std::vector<Timed> timed;
};

[[noreturn]] void Fail(const char* why, const char* what) {
    std::fprintf(stderr, "paired: %s%s\n", why, what);
    std::exit(2);
}

/// Takes the words up to the next option, or the end.
Command TakeCommand(char**& words) {
    Command command;
    for (; *words != nullptr; ++words) {
        if (std::string_view(*words) == "--run" || std::string_view(*words) == "--before") break;
        command.push_back(*words);
    }
    command.push_back(nullptr);
    return command;
}

Plan ParsePlan(char** words) {
    Plan plan;
    if (*words != nullptr) plan.rounds = std::atoi(*words++);
    while (*words != nullptr) {
        const std::string_view option = *words++;
        if (option == "--before") {
            plan.before = TakeCommand(words);
        } else if (option == "--run" && words[0] != nullptr && words[1] != nullptr) {
            const char* name = *words++;
            plan.timed.push_back({name, TakeCommand(words), {}, {}});
        } else {
            Fail("unexpected: ", option.data());
        }
    }
    if (plan.rounds < 1 || plan.timed.empty())
        Fail("Usage: paired ROUNDS [--before COMMAND...] (--run NAME COMMAND...)...", "");
    return plan;
}

double Now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double MillisecondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

[[noreturn]] void Become(const Command& command) {
    const int null = open("/dev/null", O_RDWR);
    for (int fd = 0; fd <= 1; ++fd) dup2(null, fd);
    execvp(command[0], command.data());
    std::perror(command[0]);
    _exit(127);
}

/// What the command has taken; its end is waited for.
rusage Run(const Command& command) {
    const pid_t child = fork();
    if (child < 0) Fail("cannot fork", "");
    if (child == 0) Become(command);
    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0) {
    }
    if (status != 0) Fail("failed: ", command[0]);
    return usage;
}

void Time(Timed& timed) {
    const double start = Now();
    const rusage usage = Run(timed.command);
    timed.elapsed.push_back(Now() - start);
    timed.processors.push_back(MillisecondsOf(usage.ru_utime) + MillisecondsOf(usage.ru_stime));
    timed.megabytes = std::max(timed.megabytes, static_cast<double>(usage.ru_maxrss) / 1024);
}

double Median(std::vector<double>& values) {
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

int main(int, char** argv) {
    Plan plan = ParsePlan(argv + 1);
    for (int round = 0; round < plan.rounds; ++round) {
        for (Timed& timed : plan.timed) {
            if (!plan.before.empty()) Run(plan.before);
            Time(timed);
        }
    }
    const double elapsed = Median(plan.timed.front().elapsed);
    const double processor = Median(plan.timed.front().processors);
    for (Timed& timed : plan.timed) {
        const double itsElapsed = Median(timed.elapsed);
        const double itsProcessor = Median(timed.processors);
        std::printf("%s\t%.3f\t%.3f\t%.2f\t%.4f\t%.4f\n", timed.name, itsElapsed, itsProcessor,
                    timed.megabytes, elapsed / itsElapsed, processor / itsProcessor);
    }
}
