#include "bench/HostProcess.h"

#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

using namespace std::chrono_literals;

constexpr double kibibytesOfOneMiB = 1024;
constexpr auto attempts = 1000; ///< every 10 ms: for a start, and for an end

pid_t start(const std::string& program, const std::string& portFile) {
    const auto process = ::fork();
    if (process != 0)
        return process;
    const int nowhere = ::open("/dev/null", O_RDWR);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    ::execl(program.c_str(), program.c_str(), "--listen", "127.0.0.1:0", "--port-file", portFile.c_str(),
            nullptr);
    ::_exit(127);
}

long sumOfSwitches(const std::filesystem::path& status) {
    long sum = 0;
    std::ifstream lines(status);
    for (std::string line; std::getline(lines, line);)
        if (const auto at = line.find("voluntary_ctxt_switches:"); at != line.npos)
            sum += std::stol(line.substr(line.find(':') + 1));
    return sum;
}

} // namespace

HostProcess::HostProcess(const std::string& program) : process_(start(program, directory_.file("port"))) {
    for (int i = 0; i < attempts && isAlive(); ++i) {
        std::ifstream file(directory_.file("port"));
        if (file >> port_)
            return;
        std::this_thread::sleep_for(10ms);
    }
    throw std::runtime_error(program + " does not serve");
}

HostProcess::~HostProcess() {
    ::kill(process_, SIGTERM);
    for (int i = 0; i < attempts && isAlive(); ++i)
        std::this_thread::sleep_for(10ms);
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
}

bool HostProcess::isAlive() const {
    siginfo_t end{};
    return ::waitid(P_PID, static_cast<id_t>(process_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           end.si_pid == 0;
}

double HostProcess::residentMiB() const {
    return statusNumber("VmRSS:") / kibibytesOfOneMiB;
}

double HostProcess::peakMiB() const {
    return statusNumber("VmHWM:") / kibibytesOfOneMiB;
}

void HostProcess::resetPeak() const {
    std::ofstream("/proc/" + std::to_string(process_) + "/clear_refs") << "5";
}

double HostProcess::processorSeconds() const {
    clockid_t clock{};
    timespec time{};
    if (::clock_getcpuclockid(process_, &clock) != 0 || ::clock_gettime(clock, &time) != 0)
        return 0;
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

long HostProcess::contextSwitches() const {
    long sum = 0;
    std::error_code gone;
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process_) + "/task", gone))
        sum += sumOfSwitches(task.path() / "status");
    return sum;
}

double HostProcess::statusNumber(const std::string& name) const {
    std::ifstream words("/proc/" + std::to_string(process_) + "/status");
    for (std::string word; words >> word;)
        if (double number = 0; word == name && words >> number)
            return number;
    return 0;
}

} // namespace Ostrel::Bench
