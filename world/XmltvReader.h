#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::TV::Tool {

/// What stopped the reading of an XMLTV file; the text is "file:line: reason".
class XmltvError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The content of an element with the attribute that tells it from its neighbours: `lang`, `system`
/// or none. Blanks and line breaks are one blank, and there are none around it.
struct XmltvText {
    std::string kind{}; ///< the attribute; empty without
    std::string text{};
};

/// A `channel`.
struct XmltvChannel {
    std::string id;
    std::vector<XmltvText> names; ///< display-name, by language
    std::vector<XmltvText> urls; ///< by system
    std::string number; ///< `lcn`, which is none of XMLTV's own, but frequent
};

/// A `programme`: what a world has a place for.
struct XmltvProgramme {
    std::string channel, start, stop, clump; ///< attributes
    std::vector<XmltvText> titles, subTitles, descriptions, categories; ///< by language
    std::vector<XmltvText> episodeNumbers, seriesIds, ratings, urls; ///< by system
    std::string quality; ///< of the picture
    bool hasPicture = true;
    bool previouslyShown = false;
};

/// Reads an XMLTV file as it comes, piece by piece.
///
/// The memory it takes does not depend on the length of the file: a channel or a programme may have a
/// megabyte. Elements that XMLTV does not know are passed over. A file that declares entities is
/// refused, because a few lines of them can stand for any amount of text.
///
/// One file, one thread.
class XmltvReader {
public:
    /// Who is told of what was read, in the order of the file.
    struct Listener {
        std::function<void(std::vector<XmltvText> attributes)> onGuide; ///< of `tv`; kind is the name
        std::function<void(const XmltvChannel&)> onChannel;
        std::function<void(const XmltvProgramme&)> onProgramme;
    };

    /// @param file  its name, for errors
    XmltvReader(std::string file, Listener listener);
    ~XmltvReader();
    XmltvReader(const XmltvReader&) = delete;
    XmltvReader& operator=(const XmltvReader&) = delete;

    /// Takes the next piece of the file, of any length.
    /// @throws XmltvError, and what the listener throws; then nothing more can be read
    void read(std::string_view piece);

    /// Says that there is no more.
    /// @throws likewise
    void finish();

private:
    class Parser;

    std::unique_ptr<Parser> parser_;
};

} // namespace Ostrel::TV::Tool
