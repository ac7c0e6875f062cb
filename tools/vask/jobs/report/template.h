// The built viewer, report/template.html, as viewer/ builds it.
#pragma once

#include <string_view>

namespace vask::command {

std::string_view ReportTemplate();

}  // namespace vask::command
