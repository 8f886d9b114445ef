#include "world/XmltvReader.h"

#include "world/XmltvText.h"

#include <expat.h>

#include <exception>
#include <new>
#include <utility>

namespace Ostrel::TV::Tool {

namespace {

constexpr std::size_t mostBytes = std::size_t{1} << 20; ///< of a channel, a programme, or a tag
constexpr std::size_t deepest = 32; ///< elements in one another; XMLTV needs five
constexpr std::size_t pieceSize = std::size_t{1} << 16;

std::string_view findAttribute(const char** attributes, std::string_view name) {
    for (; *attributes != nullptr; attributes += 2)
        if (name == attributes[0])
            return attributes[1];
    return {};
}

} // namespace

class XmltvReader::Parser {
public:
    Parser(std::string file, Listener listener)
        : file_(std::move(file)), listener_(std::move(listener)), expat_(XML_ParserCreate(nullptr)) {
        if (expat_ == nullptr)
            throw std::bad_alloc();
        XML_SetUserData(expat_.get(), this);
        XML_SetElementHandler(expat_.get(), onStart, onEnd);
        XML_SetCharacterDataHandler(expat_.get(), onText);
        XML_SetEntityDeclHandler(expat_.get(), onEntity);
        XML_SetSkippedEntityHandler(expat_.get(), onSkippedEntity);
    }

    void read(std::string_view piece, bool isLast) {
        const auto status = XML_Parse(expat_.get(), piece.data(), static_cast<int>(piece.size()),
                                      isLast ? XML_TRUE : XML_FALSE);
        if (thrown_)
            std::rethrow_exception(thrown_);
        if (status != XML_STATUS_OK)
            throw XmltvError(place() + XML_ErrorString(XML_GetErrorCode(expat_.get())));
        given_ += piece.size();
        const auto at = XML_GetCurrentByteIndex(expat_.get());
        if (at >= 0 && given_ - static_cast<std::size_t>(at) > mostBytes)
            throw XmltvError(place() + "a tag, a comment or the like is longer than a megabyte");
        if (isLast && !isTv_)
            throw XmltvError(place() + "there is no tv element: this is no XMLTV");
    }

private:
    /// Nothing may be thrown through the parser.
    template <typename Action> void guarded(Action action) noexcept {
        if (thrown_)
            return;
        try {
            action();
        } catch (...) {
            thrown_ = std::current_exception();
            XML_StopParser(expat_.get(), XML_FALSE);
        }
    }

    static Parser& of(void* data) { return *static_cast<Parser*>(data); }
    static void onStart(void* data, const char* name, const char** attributes) {
        of(data).guarded([&] { of(data).start(name, attributes); });
    }
    static void onEnd(void* data, const char* name) {
        of(data).guarded([&] { of(data).end(name); });
    }
    static void onText(void* data, const char* text, int length) {
        of(data).guarded([&] { of(data).addText({text, static_cast<std::size_t>(length)}); });
    }
    static void onEntity(void* data, const char* name, int, const char*, int, const char*, const char*,
                         const char*, const char*) {
        of(data).guarded([&] {
            of(data).fail("declares the entity \"" + std::string(name) +
                          "\"; XMLTV needs none, and none is taken");
        });
    }
    static void onSkippedEntity(void* data, const char* name, int) {
        of(data).guarded([&] { of(data).fail("the entity \"" + std::string(name) + "\" is not known"); });
    }

    std::string place() const {
        return file_ + ":" + std::to_string(XML_GetCurrentLineNumber(expat_.get())) + ": ";
    }
    [[noreturn]] void fail(const std::string& reason) const { throw XmltvError(place() + reason); }

    void start(std::string_view name, const char** attributes);
    void end(std::string_view name);
    void addText(std::string_view text);
    void startChannel(const char** attributes);
    void startProgramme(const char** attributes);
    void startChild(std::string_view name, const char** attributes);
    void startGrandchild(std::string_view name);
    std::vector<XmltvText>* placeInChannel(std::string_view name);
    std::vector<XmltvText>* placeInProgramme(std::string_view name);
    void collect(std::string& text) { text_ = &text; }
    void endText();
    void spend(std::size_t bytes);

    struct Free {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    enum class Inside { Nothing, Channel, Programme };

    const std::string file_;
    const Listener listener_;
    std::unique_ptr<XML_ParserStruct, Free> expat_;
    std::exception_ptr thrown_;
    std::size_t given_ = 0; ///< bytes

    bool isTv_ = false; ///< the outermost element
    std::size_t depth_ = 0;
    Inside inside_ = Inside::Nothing;
    std::size_t spent_ = 0; ///< bytes of the channel or the programme
    XmltvChannel channel_;
    XmltvProgramme programme_;
    std::string child_, picture_;
    std::string* text_ = nullptr; ///< where the text of this element goes; null when it goes nowhere
};

void XmltvReader::Parser::start(std::string_view name, const char** attributes) {
    endText(); // also where the element's own goes on behind another one
    if (++depth_ > deepest)
        fail("elements stand in one another more than " + std::to_string(deepest) + " deep");
    if (depth_ == 1) {
        if (name != "tv")
            fail("\"" + std::string(name) + "\" is not \"tv\": this is no XMLTV");
        isTv_ = true;
        std::vector<XmltvText> found;
        for (; *attributes != nullptr; attributes += 2)
            found.push_back({attributes[0], attributes[1]});
        listener_.onGuide(std::move(found));
    } else if (depth_ == 2 && name == "channel") {
        startChannel(attributes);
    } else if (depth_ == 2 && name == "programme") {
        startProgramme(attributes);
    } else if (depth_ == 3) {
        startChild(name, attributes);
    } else if (depth_ == 4) {
        startGrandchild(name);
    }
}

void XmltvReader::Parser::startChannel(const char** attributes) {
    inside_ = Inside::Channel;
    spent_ = 0;
    channel_ = {};
    channel_.id = findAttribute(attributes, "id");
    if (channel_.id.empty())
        fail("the channel has no id");
}

void XmltvReader::Parser::startProgramme(const char** attributes) {
    inside_ = Inside::Programme;
    spent_ = 0;
    programme_ = {};
    programme_.channel = findAttribute(attributes, "channel");
    programme_.start = findAttribute(attributes, "start");
    programme_.stop = findAttribute(attributes, "stop");
    programme_.clump = findAttribute(attributes, "clumpidx");
    if (programme_.channel.empty() || programme_.start.empty())
        fail(std::string("the programme has no ") + (programme_.channel.empty() ? "channel" : "start"));
}

std::vector<XmltvText>* XmltvReader::Parser::placeInChannel(std::string_view name) {
    return name == "display-name" ? &channel_.names : name == "url" ? &channel_.urls : nullptr;
}

std::vector<XmltvText>* XmltvReader::Parser::placeInProgramme(std::string_view name) {
    if (name == "title")
        return &programme_.titles;
    if (name == "sub-title")
        return &programme_.subTitles;
    if (name == "desc")
        return &programme_.descriptions;
    if (name == "category")
        return &programme_.categories;
    if (name == "episode-num")
        return &programme_.episodeNumbers;
    if (name == "series-id")
        return &programme_.seriesIds;
    if (name == "rating")
        return &programme_.ratings;
    return name == "url" ? &programme_.urls : nullptr;
}

void XmltvReader::Parser::startChild(std::string_view name, const char** attributes) {
    if (inside_ == Inside::Nothing)
        return;
    child_ = name;
    spend(sizeof(XmltvText));
    if (name == "previously-shown")
        programme_.previouslyShown = true;
    if (name == "lcn" && inside_ == Inside::Channel)
        return collect(channel_.number);
    auto* const place = inside_ == Inside::Channel ? placeInChannel(name) : placeInProgramme(name);
    if (place == nullptr)
        return;
    const auto language = findAttribute(attributes, "lang"), system = findAttribute(attributes, "system");
    XmltvText& text = place->emplace_back();
    text.kind = language.empty() ? system : language;
    if (name == "episode-num" && text.kind.empty())
        text.kind = "onscreen"; // as the DTD has it
    spend(text.kind.size());
    if (name != "rating")
        collect(text.text);
}

void XmltvReader::Parser::startGrandchild(std::string_view name) {
    if (inside_ != Inside::Programme)
        return;
    if (child_ == "rating" && name == "value")
        collect(programme_.ratings.back().text);
    else if (child_ == "video" && name == "quality")
        collect(programme_.quality);
    else if (child_ == "video" && name == "present")
        collect(picture_);
}

void XmltvReader::Parser::addText(std::string_view text) {
    if (text_ == nullptr)
        return;
    spend(text.size());
    text_->append(text);
}

void XmltvReader::Parser::spend(std::size_t bytes) {
    spent_ += bytes;
    if (spent_ > mostBytes)
        fail(std::string("a ") + (inside_ == Inside::Channel ? "channel" : "programme") +
             " is longer than a megabyte");
}

void XmltvReader::Parser::endText() {
    if (text_ != nullptr)
        *text_ = cleanText(*text_);
    text_ = nullptr;
}

void XmltvReader::Parser::end(std::string_view) {
    endText();
    if (depth_ == 4 && child_ == "video" && !picture_.empty()) {
        programme_.hasPicture = picture_ != "no";
        picture_.clear();
    }
    if (--depth_ != 1)
        return;
    const Inside ended = std::exchange(inside_, Inside::Nothing);
    if (ended == Inside::Channel)
        listener_.onChannel(channel_);
    else if (ended == Inside::Programme)
        listener_.onProgramme(programme_);
}

XmltvReader::XmltvReader(std::string file, Listener listener)
    : parser_(std::make_unique<Parser>(std::move(file), std::move(listener))) {}

XmltvReader::~XmltvReader() = default;

void XmltvReader::read(std::string_view piece) {
    for (; !piece.empty(); piece.remove_prefix(std::min(pieceSize, piece.size())))
        parser_->read(piece.substr(0, pieceSize), false);
}

void XmltvReader::finish() {
    parser_->read({}, true);
}

} // namespace Ostrel::TV::Tool
