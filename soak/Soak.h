#pragma once

#include "soak/Announcements.h"
#include "soak/Hostilities.h"
#include "soak/Tally.h"
#include "soak/Truth.h"
#include "soak/Viewer.h"
#include "soak/Vitals.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::Soak {

struct Options {
    std::string program; ///< the path of an ostrel-tvd
    std::vector<std::string> hostOptions = {}; ///< for it, beside its own
    Seconds time{1800};
    bool isSanitized = false; ///< its memory is not judged, since its allocator keeps what is freed
};

/// What a soak has shown.
struct Findings {
    struct Phase {
        std::string name;
        Histogram latency;
        double seconds = 0;
    };

    std::vector<Phase> phases;
    std::vector<Vitals> samples; ///< one a second
    Vitals begin; ///< before anybody came
    Vitals end; ///< after all have left
    std::optional<double> growth; ///< MiB a minute
    std::size_t clients = 0;
    std::size_t replies = 0;
    std::size_t notifications = 0;
    std::size_t scans = 0; ///< that came to an end
    std::size_t hostilities = 0;
    int exitStatus = 0;
    std::vector<std::string> wrong; ///< all that was, for people; of replies the first ones
    bool isInterrupted = false;
};

/// What is told while it runs.
struct Progress {
    const std::string& phase;
    const Vitals& vitals;
    double secondsLeft;
    const Tally& tally;
};

/// Well-behaved clients who check every answer, alone, beside hostile ones, and alone again.
class Soak {
public:
    /// @param tell         called once a second
    /// @param interrupted  ends it early, with what has been found so far
    Soak(Options options, std::function<void(const Progress&)> tell, const std::atomic<bool>& interrupted);

    /// @throws std::runtime_error  the host does not serve
    Findings run();

private:
    enum class Until { TimeIsOver, AllAsk, AllAreGone, HostilesAreGone };

    void startWhatStays() const;
    void connect(Viewer::World& world);
    void runPhase(const std::string& name, Seconds time);
    bool loop(const std::string& phase, Seconds time, Until until);
    bool hasCome(Until until) const;
    void turn(Clock::time_point now);
    void lookAtHost(const std::string& phase, double secondsLeft);
    void leave();
    void judgeMemory(double from, double to);
    void expectSame(const std::string& what, double before, double after);
    std::string scrape() const;

    double since() const { return Seconds(Clock::now() - began_).count(); }

    const Options options_;
    const std::function<void(const Progress&)> tell_;
    const std::atomic<bool>& interrupted_;
    const Clock::time_point began_ = Clock::now();
    const Truth truth_;
    Announcements announcements_;
    Tally tally_;
    std::unique_ptr<Bench::HostProcess> host_;
    std::vector<std::unique_ptr<Viewer>> viewers_;
    std::unique_ptr<Hostilities> hostilities_;
    int poll_ = -1; ///< epoll's
    Findings findings_;
};

} // namespace Ostrel::Soak
