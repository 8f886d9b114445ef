#pragma once

#include "TV/server/dummy/world/epgentry.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// An expression, with an evaluator that follows the language word by word.
struct Tree {
    std::string sign; ///< an operator, "in", or empty for an element
    std::string element;
    std::unique_ptr<Tree> left, right;
    std::vector<long long> list;

    unsigned nodes() const {
        if (sign.empty())
            return 1;
        const auto rest = sign == "in" ? 1 + list.size() : right->nodes();
        return 1 + left->nodes() + static_cast<unsigned>(rest);
    }

    bool joins() const { return sign == "&&" || sign == "||"; }

    std::string print() const {
        if (sign.empty())
            return element;
        if (sign == "in") {
            std::string text = left->print() + " in (";
            for (std::size_t i = 0; i != list.size(); ++i)
                text += (i ? ", " : "") + std::to_string(list[i]);
            return text + ")";
        }
        const auto side = [](const Tree& tree) {
            return tree.joins() ? "(" + tree.print() + ")" : tree.print();
        };
        return side(*left) + " " + sign + " " + side(*right);
    }

    /// A truth value as 0 or 1; false when the value is invalid.
    bool evaluate(const Ostrel::TV::epgentry& row, long long& value) const {
        if (sign.empty()) {
            if (element == "ServiceId")
                value = static_cast<std::uint32_t>(row.ServiceId);
            else if (element == "Start")
                value = row.Start;
            else if (element == "End")
                value = row.End;
            else if (std::isalpha(element[0]))
                return false;
            else
                value = std::stoll(element);
            return true;
        }
        long long a = 0, b = 0;
        if (!left->evaluate(row, a))
            return false;
        if (sign == "in") {
            value = std::count(list.begin(), list.end(), a) != 0;
            return true;
        }
        if (!right->evaluate(row, b))
            return false;
        value = sign == "=="   ? a == b
                : sign == "<"  ? a < b
                : sign == "<=" ? a <= b
                : sign == ">"  ? a > b
                : sign == ">=" ? a >= b
                : sign == "&&" ? a && b
                               : a || b;
        return true;
    }
};

/// Grows random expressions, and rows for them.
class Gardener {
public:
    explicit Gardener(unsigned seed) : random_(seed) {}

    std::unique_ptr<Tree> grow(unsigned depth) {
        auto tree = std::make_unique<Tree>();
        if (depth != 0 && below(3) != 0) {
            tree->sign = below(2) ? "&&" : "||";
            tree->left = grow(depth - 1);
            tree->right = grow(depth - 1);
            return tree;
        }
        tree->left = element();
        if (below(4) == 0) {
            tree->sign = "in";
            for (unsigned i = 0; i <= below(4); ++i)
                tree->list.push_back(number());
            return tree;
        }
        const char* const signs[] = {"==", "<", "<=", ">", ">="};
        tree->sign = signs[below(5)];
        tree->right = element();
        return tree;
    }

    Ostrel::TV::epgentry row() {
        const auto start = static_cast<int>(below(2) ? 1318366800 + below(700000) : below(5));
        Ostrel::TV::epgentry row{};
        row.ServiceId = static_cast<int>(1000 + below(85));
        row.Start = start;
        row.End = start + static_cast<int>(below(90000));
        return row;
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

private:
    std::unique_ptr<Tree> element() {
        auto tree = std::make_unique<Tree>();
        const char* const names[] = {"ServiceId", "Start", "End"};
        if (below(60) == 0)
            tree->element = "Title";
        else
            tree->element = below(2) ? names[below(3)] : std::to_string(number());
        return tree;
    }

    /// Never one that starts with "-9".
    long long number() {
        switch (below(6)) {
        case 0:
            return -static_cast<long long>(below(80)) / 10;
        case 1:
            return 9223372036854775807ll;
        case 2:
            return 2147483647ll + below(3) * 2147483648ll;
        case 3:
            return 1318366800 + below(700000);
        default:
            return 1000 + below(85);
        }
    }

    std::mt19937 random_;
};
