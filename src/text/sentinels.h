// The sentinel texts of the language: one lower-case word between ">" and
// "<". A failure travels as one of these texts; every layer passes it on.
#pragma once

#include <string_view>

namespace qvx {

inline constexpr std::string_view kSentinelInvalidExpression = ">invalid_expression<";
inline constexpr std::string_view kSentinelAborted = ">evaluation_aborted<";
inline constexpr std::string_view kSentinelInvalidObject = ">invalid_object<";
inline constexpr std::string_view kSentinelInvalidAssignment = ">invalid_assignment<";

}  // namespace qvx
