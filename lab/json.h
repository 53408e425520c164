// The name of a JSON value, for headers that only pass one on; who looks into it includes "reply.h".
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace kov_lab
{

using Json = nlohmann::ordered_json; // members keep the order in which they were put in

} // namespace kov_lab
