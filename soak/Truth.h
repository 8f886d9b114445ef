#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace Ostrel::Soak {

/// What is right, computed in this process by the module itself, with nobody else there, from the
/// same world, for a span of its clock in which no event of the guide begins or ends.
class Truth {
public:
    /// What can be asked at any time, wherever the cursor stands, and what must be answered.
    struct Question {
        std::string method;
        std::string payload; ///< the text of a JSON object
        std::string answer; ///< the reply's text behind its id
    };

    struct Service {
        std::string json;
        std::string uri;
        unsigned channelNumber;
    };

    Truth();

    const std::vector<Question>& getQuestions() const { return questions_; }

    /// The list of all services.
    const std::vector<Service>& getServices() const { return services_; }

    /// How many services at the end of the list may be deleted, and come again by a scan; the
    /// others stay where they are.
    static constexpr std::size_t loose = 4;
    std::size_t countFirm() const { return services_.size() - loose; }

    // The span of the clock, seconds since 1970-01-01 UTC; the end is the first second behind.
    std::time_t getBegin() const { return begin_; }
    std::time_t getEnd() const { return end_; }

private:
    std::time_t begin_ = 0;
    std::time_t end_ = 0;
    std::vector<Service> services_;
    std::vector<Question> questions_;
};

/// A request as JSON text.
/// @param id  as JSON text; empty when no reply is wanted
std::string makeRequest(const std::string& id, const std::string& method, std::uint32_t context,
                        const std::string& payload);

} // namespace Ostrel::Soak
