#pragma once

#include "Ostrel/transport/Address.h"
#include "tests/support/Child.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Ostrel::Test {

using Arguments = std::vector<std::string>;

/// A host that serves on a port of its own.
class RunningHost {
public:
    explicit RunningHost(const Arguments& options = {}, const Arguments& environment = {})
        : RunningHost(OSTREL_TVD_PROGRAM, withDefaults(options), environment) {}

    RunningHost(const std::string& program, const Arguments& arguments, const Arguments& environment)
        : child_(program, arguments, {}, environment) {
        const auto line = child_.readLine();
        const auto at = line.find("127.0.0.1:");
        EXPECT_NE(at, std::string::npos) << line;
        address_ = Address::parse(line.substr(at, line.size() - at - 1));
    }

    const Address& address() const { return address_; }
    Child& child() { return child_; }

private:
    static Arguments withDefaults(const Arguments& options) {
        Arguments all{"--listen", "127.0.0.1:0", "--log-level", "error"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    Child child_;
    Address address_;
};

} // namespace Ostrel::Test
