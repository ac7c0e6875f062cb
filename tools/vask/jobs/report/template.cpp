#include "jobs/report/template.h"

#include "files/embedded.h"

VASK_EMBED(vask_report_template, VASK_REPORT_TEMPLATE)

namespace vask::command {

std::string_view ReportTemplate() { return vask_report_template(); }

}  // namespace vask::command
