#include "Ostrel/runtime/MetricsText.h"

namespace Ostrel {

void MetricsText::begin(std::string_view name, std::string_view help, std::string_view type) {
    if (!text_.empty())
        text_ += '\n'; // for people: readers skip empty lines
    name_ = name;
    text_.append("# HELP ").append(name).append(" ").append(help);
    text_.append("\n# TYPE ").append(name).append(" ").append(type).append("\n");
}

void MetricsText::add(std::string_view suffix, std::initializer_list<Label> labels, std::string_view value) {
    text_.append(name_).append(suffix);
    char before = '{';
    for (const auto& [label, labelValue] : labels) {
        (text_ += before).append(label).append("=\"").append(labelValue) += '"';
        before = ',';
    }
    if (labels.size() > 0)
        text_ += '}';
    (text_ += ' ').append(value) += '\n';
}

} // namespace Ostrel
