#pragma once

#include <list>
#include <string>

namespace Ostrel::TV {

/// Writes values as text. Which belong together is known here, what that looks like in each form.
///
/// The container that was opened last is the one to close first. There are no line breaks.
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

    /// Writes a separator where something stands in front already.
    void separate();

    /// What the container is called that is open now. One has to be.
    const std::string& getListName() const;

    const std::string& getString() const { return output; }

protected:
    std::string output;
    std::list<StackEntry> stack; ///< what is open, from the outside in
    bool first = true; ///< nothing stands in the open container yet

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
    bool savedFirst; ///< what Generator::first was outside
};

} // namespace Ostrel::TV
