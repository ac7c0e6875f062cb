// The built viewer, report/template.html, as viewer/ makes it.
#ifndef TOOLS_VASK_JOBS_REPORT_TEMPLATE_H_
#define TOOLS_VASK_JOBS_REPORT_TEMPLATE_H_

#include <string_view>

namespace vask::command {

std::string_view ReportTemplate();

}  // namespace vask::command

#endif  // TOOLS_VASK_JOBS_REPORT_TEMPLATE_H_
