// Times two commands in turn, so that whatever else the machine does falls on both, and compares their
// medians. The median of the processor time and the most memory that a run of each has taken are told, too.
//
//   paired ROUNDS [--before COMMAND...] --first COMMAND... --second COMMAND...
//
// Before each timed run the command of --before is run, untimed. Time is from before the fork until the
// process is waited for. Both commands write to /dev/null; one that ends with another status than 0 ends the
// benchmark.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Command = std::vector<char*>;

struct Plan {
    int rounds = 0;
    Command before;
    Command first;
    Command second;
};

[[noreturn]] void Fail(const std::string& text) {
    std::fprintf(stderr, "paired: %s\n", text.c_str());
    std::exit(2);
}

Plan ParsePlan(int argc, char** argv) {
    Plan plan;
    if (argc > 1) plan.rounds = std::atoi(argv[1]);
    Command* command = nullptr;
    for (int i = 2; i < argc; ++i) {
        if (std::strcmp(argv[i], "--before") == 0) {
            command = &plan.before;
        } else if (std::strcmp(argv[i], "--first") == 0) {
            command = &plan.first;
        } else if (std::strcmp(argv[i], "--second") == 0) {
            command = &plan.second;
        } else if (command != nullptr) {
            command->push_back(argv[i]);
        }
    }
    if (plan.rounds < 1 || plan.first.empty() || plan.second.empty()) {
        Fail("Usage: paired ROUNDS [--before COMMAND...] --first COMMAND... --second COMMAND...");
    }
    for (Command* each : {&plan.before, &plan.first, &plan.second}) each->push_back(nullptr);
    return plan;
}

double Now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

void Become(const Command& command) {
    const int null = open("/dev/null", O_RDWR);
    for (int fd = 0; fd <= 2; ++fd) dup2(null, fd);
    execvp(command[0], command.data());
    _exit(127);
}

double MillisecondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

struct Measure {
    double milliseconds = 0;  // from before the fork until the process has ended
    double processor = 0;     // milliseconds, user and system, of the process and those it waited for
    double megabytes = 0;     // at its peak, of the process itself or the largest of those it waited for
};

Measure Run(const Command& command) {
    if (command.front() == nullptr) return {};
    const double start = Now();
    const pid_t child = fork();
    if (child < 0) Fail("cannot fork");
    if (child == 0) Become(command);
    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0) {
    }
    const double elapsed = Now() - start;
    if (status != 0) Fail(std::string(command[0]) + " failed");
    return {elapsed, MillisecondsOf(usage.ru_utime) + MillisecondsOf(usage.ru_stime),
            static_cast<double>(usage.ru_maxrss) / 1024};
}

double Quantile(const std::vector<double>& sorted, double part) {
    return sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1) + 0.5)];
}

struct Measures {
    std::vector<double> elapsed;     // milliseconds
    std::vector<double> processors;  // milliseconds
    double megabytes = 0;

    void Add(const Measure& run) {
        elapsed.push_back(run.milliseconds);
        processors.push_back(run.processor);
        megabytes = std::max(megabytes, run.megabytes);
    }

    double Median() const { return Quantile(elapsed, 0.5); }

    void Print(const char* name) {
        std::sort(elapsed.begin(), elapsed.end());
        std::sort(processors.begin(), processors.end());
        std::printf("  %-7s median %8.2f ms   (quartiles %.2f to %.2f), processor %.2f ms, %.1f MiB\n", name,
                    Median(), Quantile(elapsed, 0.25), Quantile(elapsed, 0.75), Quantile(processors, 0.5),
                    megabytes);
    }
};

}  // namespace

int main(int argc, char** argv) {
    const Plan plan = ParsePlan(argc, argv);
    Measures first;
    Measures second;
    for (int round = 0; round < plan.rounds; ++round) {
        Run(plan.before);
        first.Add(Run(plan.first));
        Run(plan.before);
        second.Add(Run(plan.second));
    }
    first.Print("first");
    second.Print("second");
    std::printf("  first / second: %.2f   difference: %.2f ms   (%d rounds)\n",
                first.Median() / second.Median(), first.Median() - second.Median(), plan.rounds);
}
