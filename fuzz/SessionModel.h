#pragma once

#include "fuzz/FewEvents.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Ostrel::Fuzz {

/// What the module has to keep in mind of its clients, as plainly as it can be: lists, cursors and the scan.
/// Operations give what the reply has behind the id.
class SessionModel {
public:
    struct Cursor {
        bool isSelected = false, isAll = false;
        std::uint32_t position = 0;
    };

    explicit SessionModel(std::int64_t now) : now_(now) {
        for (const unsigned frequency : fewFrequencies)
            if (std::find(transponders_.begin(), transponders_.end(), frequency) == transponders_.end())
                transponders_.push_back(frequency); // as the line-up has them, in no order
        for (unsigned place = 0; place != std::size(fewServices); ++place)
            services_.push_back(place); // their numbers ascend
    }

    /// What listeners hear: they are told apart by their texts. Forgets it.
    std::string takeEvents() { return std::exchange(events_, {}); }

    static std::string uriOf(unsigned place) {
        std::ostringstream uri;
        uri << "dvb://1.." << std::hex << fewServices[place];
        return uri.str();
    }

    static std::string refusal(const std::string& code) {
        if (code == "InvalidParameter")
            return error(R"("Invalid parameter","data":{"returnCode":1,"name":"InvalidParameter"})");
        if (code == "InvalidState")
            return error(R"("Invalid state","data":{"returnCode":2,"name":"InvalidState"})");
        return error(R"("Not supported","data":{"returnCode":4,"name":"NotSupported"})");
    }

    // The service lists

    std::string set(Cursor& cursor, const std::string& base) {
        if (base != "all" && base != "new")
            return refusal("InvalidParameter");
        cursor = {true, base == "all", 0};
        return result("true");
    }

    std::string get(const Cursor& cursor, std::uint32_t limit) {
        if (!cursor.isSelected)
            return refusal("InvalidState");
        std::string text;
        const std::uint32_t end = cursor.position + limit; // wraps
        for (std::size_t i = cursor.position; i < end && i < listOf(cursor).size(); ++i)
            text += (text.empty() ? "" : ",") + describe(listOf(cursor)[i]);
        return result("[" + text + "]");
    }

    std::string read(Cursor& cursor, std::uint32_t limit) {
        const auto text = get(cursor, limit);
        const std::uint32_t end = cursor.position + limit; // wraps
        if (cursor.isSelected && end > cursor.position)
            cursor.position = std::max<std::uint32_t>(
                cursor.position, std::min<std::uint32_t>(end, static_cast<std::uint32_t>(sizeOf(cursor))));
        return text;
    }

    std::string seek(Cursor& cursor, std::int32_t offset, std::uint32_t whence) {
        if (!cursor.isSelected)
            return refusal("InvalidState");
        if (whence > 2)
            return refusal("InvalidParameter");
        const std::int64_t origin = whence == 0 ? 0 : whence == 1 ? cursor.position : sizeOf(cursor);
        if (origin + offset < 0 || origin + offset > sizeOf(cursor))
            return refusal("InvalidParameter");
        cursor.position = static_cast<std::uint32_t>(origin + offset);
        return result(std::to_string(cursor.position));
    }

    /// @param place  among the few services; one past them is nowhere
    std::string seekTo(Cursor& cursor, unsigned place) {
        if (!cursor.isSelected)
            return refusal("InvalidState");
        const auto& list = listOf(cursor);
        const auto found = std::find(list.begin(), list.end(), place);
        if (found == list.end())
            return refusal("InvalidParameter");
        return seek(cursor, static_cast<std::int32_t>(found - list.begin()), 0);
    }

    std::string deleteOne(const Cursor& cursor) {
        if (!cursor.isSelected || !cursor.isAll || cursor.position >= services_.size())
            return refusal("InvalidState");
        services_.erase(services_.begin() + cursor.position);
        return result("true");
    }

    std::string deleteAll(Cursor& cursor) {
        if (!cursor.isSelected || !cursor.isAll)
            return refusal("InvalidState");
        services_.clear();
        cursor.position = 0;
        return result("true");
    }

    // Transponders and the scan

    std::string addTransponder(std::uint32_t frequencyKHz) {
        insertTransponder(frequencyKHz / 1000);
        return result("true");
    }

    std::string deleteTransponders() {
        services_.clear();
        transponders_.clear();
        return result("true");
    }

    std::string start(std::uint32_t source, bool isBlind) {
        if (scan_.isRunning)
            return refusal("NotSupported");
        if (isBlind)
            latestBlindSource_ = source;
        scan_ = {true, 0, 0, {0, 0, 0}, now_, transponders_, 0};
        if (isBlind) {
            scan_.frequencies.clear();
            for (unsigned frequency = 474; frequency <= 850; frequency += 8)
                scan_.frequencies.push_back(frequency);
        }
        hasScanned_ = true;
        scanned_.clear();
        tell("start", source);
        tell("progress 0", source);
        update(false); // by its task, before anybody else can ask
        return result("true");
    }

    std::string stop() {
        const bool wasRunning = scan_.isRunning;
        update(true);
        return result(wasRunning ? "true" : "false");
    }

    /// A context has been deleted, which ends the scan without a word.
    void loseContext() { scan_.isRunning = false; }

    std::string info() const {
        if (!hasScanned_)
            return refusal("InvalidState");
        const auto number = [](const char* name, unsigned value) {
            return ",\"" + std::string(name) + "\":" + std::to_string(value);
        };
        std::string text = std::string(R"({"scanning":)") + (scan_.isRunning ? "true" : "false");
        text += number("progress", scan_.progress);
        for (const char* name : {"reserved1", "reserved2", "reserved3", "reserved4", "reserved5"})
            text += number(name, 0);
        text += number("servicesFound", scan_.found) + number("tvServices", scan_.byType[0]) +
                number("radioServices", scan_.byType[1]) + number("type3Services", scan_.byType[2]);
        return result(text + number("reserved6", 0) + number("reserved7", 0) + "}");
    }

    // The clock, on whose whole and half seconds all tasks wake

    std::int64_t now() const { return now_; }

    void pass(unsigned seconds) {
        for (; seconds != 0; --seconds) {
            update(false); // half a second later
            ++now_;
            update(false);
        }
    }

    void jump(std::int64_t seconds) {
        now_ += seconds;
        if (seconds > 0)
            update(false);
    }

private:
    using Places = std::vector<unsigned>;

    struct Scan {
        bool isRunning = false;
        unsigned progress = 0;
        unsigned found = 0;
        unsigned byType[3] = {};
        std::int64_t startTime = 0;
        std::vector<std::uint32_t> frequencies;
        std::size_t visited = 0;
    };

    static std::string result(const std::string& value) { return R"("result":)" + value; }
    static std::string error(const std::string& rest) {
        return R"("error":{"code":-32000,"message":)" + rest + "}";
    }

    static std::string describe(unsigned place) {
        const auto number = std::to_string(fewServices[place]);
        return R"({"channelNumber":)" + number + R"(,"name":"Service","uri":")" + uriOf(place) +
               R"(","id":)" + number + R"(,"type":)" + std::to_string(typeOfFew(place)) +
               R"(,"provider":"","scrambled":false,"highDefinition":false,"visible":true,"selectable":true})";
    }

    const Places& listOf(const Cursor& cursor) const { return cursor.isAll ? services_ : scanned_; }
    std::int64_t sizeOf(const Cursor& cursor) const {
        return static_cast<std::int64_t>(listOf(cursor).size());
    }

    void tell(const std::string& what, std::uint32_t source) {
        events_ += what + " of " + std::to_string(source) + "; ";
    }

    void setProgress(unsigned percent) {
        if (scan_.progress != percent)
            tell("progress " + std::to_string(percent), latestBlindSource_);
        scan_.progress = percent;
    }

    void update(bool stops) {
        if (!scan_.isRunning)
            return;
        const auto length = static_cast<std::int64_t>(scan_.frequencies.size());
        const auto passed = std::max<std::int64_t>(now_ - scan_.startTime, 0);
        scan_.isRunning = passed < length;
        setProgress(scan_.isRunning ? static_cast<unsigned>(passed * 100 / length) : 100);
        if (!scan_.isRunning || stops)
            tell("complete", latestBlindSource_);
        if (stops)
            scan_.isRunning = false;
        const auto visits = (scan_.frequencies.size() * scan_.progress + 50) / 100;
        for (; scan_.visited < visits; ++scan_.visited)
            visit(scan_.frequencies[scan_.visited]);
    }

    void visit(std::uint32_t frequency) {
        bool isOnAir = false;
        for (unsigned place = 0; place != std::size(fewServices); ++place) {
            if (fewFrequencies[place] != frequency)
                continue;
            isOnAir = true;
            if (std::find(services_.begin(), services_.end(), place) != services_.end())
                continue;
            const auto behind = std::find_if(services_.begin(), services_.end(),
                                             [&](unsigned other) { return other > place; });
            scan_.found += behind == services_.end() ? 1 : 2;
            ++scan_.byType[typeOfFew(place) - 1];
            services_.insert(behind, place);
            scanned_.push_back(place);
        }
        if (isOnAir)
            insertTransponder(frequency);
    }

    void insertTransponder(std::uint32_t frequency) {
        transponders_.insert(std::find_if(transponders_.begin(), transponders_.end(),
                                          [&](std::uint32_t other) { return other > frequency; }),
                             frequency);
    }

    std::int64_t now_; ///< seconds since 1970-01-01 UTC
    Places services_, scanned_; ///< by their place among the few
    std::vector<std::uint32_t> transponders_; ///< in MHz
    Scan scan_;
    bool hasScanned_ = false;
    std::uint32_t latestBlindSource_ = 0;
    std::string events_;
};

} // namespace Ostrel::Fuzz
