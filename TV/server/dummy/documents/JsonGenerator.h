#pragma once

#include "TV/server/dummy/documents/Generator.h"

namespace Ostrel::TV {

/// Writes JSON. An empty or null name writes a value alone.
class JsonGenerator : public Generator {
public:
    void addInt(const char* name, long long value) override;
    /// The value that means that there is none becomes null.
    void addOptInt(const char* name, long long value, long long defaultValue) override;
    /// An absent text becomes an empty one.
    void addString(const char* name, const char* value) override;
    void addFlag(const char* name, bool value) override;
    void addObjectStart(const std::string& name) override;
    void addObjectEnd(const std::string& name) override;
    void addListStart(const std::string& name) override;
    void addListEnd(const std::string& name) override;
    void addSeparator() override;
    void begin() override;
    void end() override;

private:
    /// What stands before every value.
    void addKey(const char* name);
};

} // namespace Ostrel::TV
