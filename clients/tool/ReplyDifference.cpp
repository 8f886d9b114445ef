#include "clients/tool/ReplyDifference.h"

#include "clients/cpp/ValueText.h"

#include <algorithm>

namespace Ostrel::Client::Tool {

namespace {

using boost::json::value;

class ReplyComparison {
public:
    ReplyComparison(const std::set<std::string>& without, std::size_t most)
        : without_(without), most_(most) {}

    std::vector<ReplyDifference> take() { return std::move(differences_); }

    /// Null stands for what is not there.
    void compare(const std::string& path, const value* recorded, const value* replayed) {
        if (differences_.size() >= most_)
            return;
        const bool areThere = recorded != nullptr && replayed != nullptr;
        if (areThere && recorded->is_object() && replayed->is_object())
            compareObjects(path, recorded->get_object(), replayed->get_object());
        else if (areThere && recorded->is_array() && replayed->is_array())
            compareArrays(path, recorded->get_array(), replayed->get_array());
        else if (!areThere || *recorded != *replayed)
            differences_.push_back({path, textOf(recorded), textOf(replayed)});
    }

private:
    static std::string textOf(const value* json) { return json != nullptr ? toText(*json) : std::string(); }

    void compareObjects(const std::string& path, const boost::json::object& recorded,
                        const boost::json::object& replayed) {
        const auto compareMember = [&](boost::json::string_view key) {
            if (without_.count(std::string(key)) == 0)
                compare(path + (path.empty() ? "" : ".") + std::string(key), recorded.if_contains(key),
                        replayed.if_contains(key));
        };
        for (const auto& member : recorded)
            compareMember(member.key());
        for (const auto& member : replayed)
            if (!recorded.contains(member.key()))
                compareMember(member.key());
    }

    void compareArrays(const std::string& path, const boost::json::array& recorded,
                       const boost::json::array& replayed) {
        for (std::size_t i = 0; i < std::max(recorded.size(), replayed.size()); ++i)
            compare(path + "[" + std::to_string(i) + "]", recorded.if_contains(i), replayed.if_contains(i));
    }

    const std::set<std::string>& without_;
    const std::size_t most_;
    std::vector<ReplyDifference> differences_;
};

} // namespace

std::vector<ReplyDifference> compareReplies(const value& recorded, const value& replayed,
                                            const std::set<std::string>& without, std::size_t most) {
    ReplyComparison comparison(without, most);
    comparison.compare("", &recorded, &replayed);
    return comparison.take();
}

} // namespace Ostrel::Client::Tool
