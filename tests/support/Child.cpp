#include "tests/support/Child.h"

#include <csignal>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ostrel::Test {

namespace {

int makeFile(const std::string& content) {
    const int file = ::memfd_create("stdio", MFD_CLOEXEC);
    if (file < 0 || ::pwrite(file, content.data(), content.size(), 0) != static_cast<ssize_t>(content.size()))
        throw std::system_error(errno, std::generic_category(), "memfd");
    return file;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (auto& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

} // namespace

Child::Child(const std::string& program, const std::vector<std::string>& arguments, const std::string& input,
             const std::vector<std::string>& environment) {
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    output_ = pipe[0];
    errors_ = makeFile({});
    const int in = makeFile(input);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, in, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, pipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, errors_, STDERR_FILENO);

    // Whoever runs the tests may have told them to outlive a terminal.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t ending;
    sigemptyset(&ending);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ending, number);
    posix_spawnattr_setsigdefault(&attributes, &ending);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = environment;
    for (char** variable = environ; *variable != nullptr; ++variable)
        variables.emplace_back(*variable);
    const int failure = ::posix_spawn(&process_, program.c_str(), &files, &attributes, pointers(words).data(),
                                      pointers(variables).data());
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    ::close(pipe[1]);
    ::close(in);
    if (failure != 0)
        throw std::system_error(failure, std::generic_category(), program);
}

Child::~Child() {
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        wait();
    }
    closeOutput();
    ::close(errors_);
}

std::string Child::readLine() {
    std::string line;
    char c = 0;
    while (::read(output_, &c, 1) == 1) {
        line += c;
        if (c == '\n')
            break;
    }
    return line;
}

void Child::closeOutput() {
    if (output_ >= 0)
        ::close(output_);
    output_ = -1;
}

void Child::signal(int number) {
    ::kill(process_, number);
}

int Child::wait() {
    int status = 0;
    ::waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

std::string Child::readOutput() {
    std::string text;
    for (auto line = readLine(); !line.empty(); line = readLine())
        text += line;
    return text;
}

std::string Child::readErrors() {
    std::string text(static_cast<std::size_t>(::lseek(errors_, 0, SEEK_END)), '\0');
    const auto length = ::pread(errors_, text.data(), text.size(), 0);
    text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return text;
}

} // namespace Ostrel::Test
