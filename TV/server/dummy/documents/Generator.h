#pragma once

#include <list>
#include <string>

namespace Ostrel::TV {

/// Writes values as text: what belongs together is told here, how it looks by each form.
///
/// Containers are closed in the reverse order of opening. Everything is written on one line.
class Generator {
public:
    class StackEntry;

    Generator();
    virtual ~Generator();

    Generator(const Generator&) = delete;
    Generator& operator=(const Generator&) = delete;

    // A null name is the name of a list's element.
    virtual void addInt(const char* name, long long value) = 0;
    /// @param defaultValue  the value that means that there is none
    virtual void addOptInt(const char* name, long long value, long long defaultValue) = 0;
    /// @param value  UTF-8, ended by a NUL; null when it is absent
    virtual void addString(const char* name, const char* value) = 0;
    virtual void addFlag(const char* name, bool value) = 0;
    virtual void addObjectStart(const std::string& name) = 0;
    virtual void addObjectEnd(const std::string& name) = 0;
    virtual void addListStart(const std::string& name) = 0;
    virtual void addListEnd(const std::string& name) = 0;
    virtual void addSeparator() = 0;
    /// Called once around everything else, as end() is.
    virtual void begin() = 0;
    virtual void end() = 0;

    void beginObject(const std::string& name);
    void endObject();
    void beginList(const std::string& name);
    void endList();

    /// Writes a separator unless the next item is the first of its container.
    void separate();

    /// The name of the innermost open container; there must be one.
    const std::string& getListName() const;

    const std::string& getString() const { return output; }

protected:
    std::string output;
    std::list<StackEntry> stack; ///< open containers, the innermost at the back
    bool first = true; ///< the next item is the first of its container

private:
    StackEntry pop();
};

/// An open container.
class Generator::StackEntry {
public:
    enum Type { Object = 0, List = 1 };

    StackEntry(Type newType, std::string newName, bool first);

    Type type;
    std::string name;
    bool savedFirst; ///< whether it was the first item of its parent
};

} // namespace Ostrel::TV
