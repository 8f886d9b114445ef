#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// Something that a world must not have.
struct WorldProblem {
    std::string place; ///< such as "my-world/guide/1-harbour.txt:17" or "event 5 of service 1000"
    std::string reason;
};

/// What is wrong with a world: the first problems, and how many there are.
class WorldProblems {
public:
    static constexpr std::size_t mostKept = 100;

    /// @param place  called for those alone that are kept
    void add(const std::function<std::string()>& place, std::string reason);
    void add(std::string place, std::string reason);
    void add(const WorldProblem& problem) { add(problem.place, problem.reason); }

    std::size_t count() const { return count_; }
    std::span<const WorldProblem> kept() const { return kept_; }

    /// A line for each that is kept, and one that says how many more there are; no line break at the end.
    std::string text() const;

private:
    std::vector<WorldProblem> kept_;
    std::size_t count_ = 0;
};

/// A world that cannot be used; the text says why, in a line for each problem.
class WorldError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    explicit WorldError(const WorldProblems& problems) : std::runtime_error(problems.text()) {}
};

} // namespace Ostrel::TV
