// Any text: it is an expression when the grammar read plainly says so, and the rows that it finds are those for
// which it is true when it is worked out row by row.

#include "TV/server/dummy/query/QuorilQuery.h"
#include "TV/server/dummy/quoril/Expression.h"
#include "fuzz/FewEvents.h"
#include "fuzz/PlainTokens.h"
#include "fuzz/Require.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace Ostrel::Fuzz;
using namespace Ostrel::TV;

namespace {

/// The grammar, a function for each of its rules. What has been read can be worked out for any row.
class PlainExpression {
public:
    explicit PlainExpression(const std::string& text) : tokens_(text), token_(tokens_.next()) {
        if (token_.kind != "end")
            root_ = any();
        isGood_ = !mistake_ && token_.kind == "end" && nodes_ <= 20;
    }

    bool isGood() const { return isGood_; }

    /// Nothing when it is Invalid.
    std::optional<bool> evaluate(const epgentry& row) const {
        const auto value = root_ ? evaluate(*root_, row) : std::optional<std::int64_t>(1);
        return value ? std::optional(*value != 0) : std::nullopt;
    }

private:
    struct Node {
        std::string sign; ///< "name" and "integer" beside those that join
        std::string name;
        std::int64_t number = 0;
        std::vector<std::unique_ptr<Node>> parts;
    };
    using Part = std::unique_ptr<Node>;

    /// Null once there is a mistake anywhere.
    Part make(std::string sign, std::vector<Part> parts) {
        ++nodes_;
        if (mistake_)
            return nullptr;
        auto node = std::make_unique<Node>();
        node->sign = std::move(sign);
        node->parts = std::move(parts);
        return node;
    }

    Part join(const std::string& sign, Part left, Part right) {
        std::vector<Part> parts;
        parts.push_back(std::move(left));
        parts.push_back(std::move(right));
        return make(sign, std::move(parts));
    }

    std::string eat() {
        const std::string kind = token_.kind;
        token_ = tokens_.next();
        return kind;
    }

    bool expect(const std::string& kind) {
        mistake_ = mistake_ || token_.kind != kind;
        if (!mistake_)
            eat();
        return !mistake_;
    }

    Part any() {
        Part left = all();
        while (!mistake_ && token_.kind == "||" && expect("||"))
            left = join("||", std::move(left), all());
        return left;
    }

    Part all() {
        Part left = comparison();
        while (!mistake_ && token_.kind == "&&" && expect("&&"))
            left = join("&&", std::move(left), comparison());
        return left;
    }

    Part comparison() {
        if (token_.kind == "(") {
            mistake_ = mistake_ || ++open_ > 256;
            Part inner = expect("(") ? any() : nullptr;
            --open_;
            expect(")");
            return inner;
        }
        Part left = element();
        if (!mistake_ && token_.kind == "in" && expect("in"))
            return list(std::move(left));
        for (const char* sign : {"==", "<", "<=", ">", ">="})
            if (!mistake_ && token_.kind == sign && expect(sign))
                return join(sign, std::move(left), element());
        mistake_ = true;
        return nullptr;
    }

    Part list(Part left) {
        ++nodes_; // the list itself
        std::vector<Part> parts;
        parts.push_back(std::move(left));
        const char* before = "(";
        do {
            if (!expect(before))
                return nullptr;
            mistake_ = token_.kind != "integer";
            parts.push_back(element());
            before = ",";
        } while (!mistake_ && token_.kind == ",");
        expect(")");
        return make("in", std::move(parts));
    }

    Part element() {
        mistake_ = mistake_ || (token_.kind != "name" && token_.kind != "integer");
        Part node = make(token_.kind, {});
        if (node) {
            node->name = token_.text;
            node->number = token_.number;
            eat();
        }
        return node;
    }

    static std::optional<std::int64_t> evaluate(const Node& node, const epgentry& row) {
        if (node.sign == "integer")
            return node.number;
        if (node.name == "ServiceId")
            return static_cast<std::uint32_t>(row.ServiceId);
        if (node.name == "Start")
            return row.Start;
        if (node.name == "End")
            return row.End;
        if (node.sign == "name")
            return std::nullopt;
        std::vector<std::int64_t> values;
        for (const Part& part : node.parts) {
            const auto value = evaluate(*part, row);
            if (!value)
                return std::nullopt;
            values.push_back(*value);
        }
        if (node.sign == "in") {
            for (std::size_t i = 1; i != values.size(); ++i)
                if (values[i] == values[0])
                    return true;
            return false;
        }
        const auto [a, b] = std::pair(values[0], values[1]);
        return node.sign == "=="   ? a == b
               : node.sign == "<"  ? a < b
               : node.sign == "<=" ? a <= b
               : node.sign == ">"  ? a > b
               : node.sign == ">=" ? a >= b
               : node.sign == "&&" ? (a & b) != 0
                                   : (a | b) != 0;
    }

    PlainTokens tokens_;
    PlainTokens::Token token_;
    Part root_;
    unsigned nodes_ = 0, open_ = 0;
    bool mistake_ = false, isGood_ = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const Guide& guide = fewEvents(40);
    const std::string text(reinterpret_cast<const char*>(data), size);
    const PlainExpression plain(text);

    static Expression reused; // an expression may be parsed again
    Expression expression;
    require(expression.parse(text) == plain.isGood());
    require(reused.parse(text) == plain.isGood());
    const auto& mistake = expression.mistake();
    require(mistake.has_value() != plain.isGood());
    if (mistake) {
        require(mistake->position <= size);
        require(!explain(*mistake, text).empty());
    }
    QuorilQuery query(guide);
    require(query.init(text, 0, 4294967295u) == plain.isGood());
    if (!plain.isGood()) {
        require(query.next() == nullptr);
        return 0;
    }

    std::size_t count = 0;
    for (std::uint32_t position = 0; position != guide.index().size(); ++position) {
        const epgentry* const row = guide.index()[position];
        const auto wanted = plain.evaluate(*row);
        for (Expression* each : {&expression, &reused}) {
            const auto value = each->evaluate(row);
            require(value.type() == (wanted ? Expression::Value::Boolean : Expression::Value::Invalid));
            require(!wanted || value.boolean() == *wanted);
        }
        require(query.matches(position) == wanted.value_or(false));
        if (wanted.value_or(false)) {
            require(query.next() == row);
            ++count;
        }
    }
    require(query.next() == nullptr);
    require(query.count() == count);
    return 0;
}
