#include "bench/HostProcess.h"

#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

using namespace std::chrono_literals;

constexpr double kibibytesOfOneMiB = 1024;
constexpr auto pause = 10ms; ///< between two looks
constexpr auto startLooks = 6000;
constexpr auto hastyEndLooks = 1000;
constexpr auto endLooks = 12'000;
constexpr int killedBy = 1000; ///< and the signal: in place of an exit status

pid_t start(std::vector<std::string> words, const std::string& errorFile) {
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const auto process = ::fork();
    if (process != 0)
        return process;
    const int nowhere = ::open("/dev/null", O_RDWR);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(::open(errorFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
    ::close_range(STDERR_FILENO + 1, ~0u, 0);
    ::setpgid(0, 0); // Ctrl-C is for whoever measures
    ::prctl(PR_SET_PDEATHSIG, SIGTERM); // who may end without a word
    ::execvp(arguments.front(), arguments.data());
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

HostProcess::HostProcess(const std::string& program, const std::vector<std::string>& options,
                         const std::vector<std::string>& under) {
    auto words = under;
    words.insert(words.end(), {program, "--listen", "127.0.0.1:0", "--port-file", directory_.file("port")});
    words.insert(words.end(), options.begin(), options.end());
    process_ = start(words, directory_.file("errors"));
    for (int i = 0; i < startLooks && isAlive(); ++i) {
        std::ifstream file(directory_.file("port"));
        if (file >> port_)
            return;
        std::this_thread::sleep_for(pause);
    }
    const auto errors = readErrors();
    end(hastyEndLooks);
    throw std::runtime_error(program + " does not serve" + (errors.empty() ? "" : ": " + errors));
}

HostProcess::~HostProcess() {
    if (process_ > 0)
        end(hastyEndLooks);
}

int HostProcess::stop() {
    return end(endLooks);
}

int HostProcess::end(int looks) {
    ::kill(process_, SIGTERM);
    for (int i = 0; i < looks && isAlive(); ++i)
        std::this_thread::sleep_for(pause);
    ::kill(process_, SIGKILL);
    int status = 0;
    ::waitpid(std::exchange(process_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : killedBy + WTERMSIG(status);
}

std::string HostProcess::readErrors() const {
    std::ifstream file(directory_.file("errors"));
    return {std::istreambuf_iterator<char>(file), {}};
}

bool HostProcess::isAlive() const {
    siginfo_t end{};
    return ::waitid(P_PID, static_cast<id_t>(process_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           end.si_pid == 0;
}

double HostProcess::residentMiB() const {
    return statusNumber("VmRSS:") / kibibytesOfOneMiB;
}

double HostProcess::anonymousMiB() const {
    return statusNumber("RssAnon:") / kibibytesOfOneMiB;
}

std::size_t HostProcess::countDescriptors() const {
    std::error_code gone;
    return std::size_t(std::distance(
        std::filesystem::directory_iterator("/proc/" + std::to_string(process_) + "/fd", gone), {}));
}

std::size_t HostProcess::countThreads() const {
    return std::size_t(statusNumber("Threads:"));
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
