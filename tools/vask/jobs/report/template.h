// The built viewer, report/template.html, as viewer/ makes it.
#pragma once

#include <string_view>

namespace vask::command {

std::string_view ReportTemplate();

}  // namespace vask::command
