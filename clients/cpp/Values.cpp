#include "clients/cpp/Values.h"

namespace Ostrel::Client {

template bool decode(std::string_view);
template std::uint32_t decode(std::string_view);
template std::vector<std::string> decode(std::string_view);

} // namespace Ostrel::Client
