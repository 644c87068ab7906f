/**
 * @file
 * JSON on one line, its members in the order in which they were written.
 */
#ifndef RTU_HOST_JSON_H
#define RTU_HOST_JSON_H

#include <nlohmann/json.hpp>

#include <string>

namespace rtu {

using Json = nlohmann::ordered_json;

/** Texts in another encoding than UTF-8 get a sign of replacement for what cannot be read. */
std::string jsonText(const Json &json);

/** A number with no more than so many digits behind the point. */
Json jsonNumber(double number, int digits);

} // namespace rtu

#endif
