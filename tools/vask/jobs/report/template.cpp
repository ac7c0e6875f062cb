// The assembler embeds the file: that takes no time and needs no extra program.
#include "jobs/report/template.h"

asm(R"(
  .pushsection .rodata
  .globl vask_report_template_begin, vask_report_template_end
vask_report_template_begin:
  .incbin ")" VASK_REPORT_TEMPLATE R"("
vask_report_template_end:
  .popsection
)");

extern "C" const char vask_report_template_begin[], vask_report_template_end[];

namespace vask::command {

std::string_view ReportTemplate() { return {vask_report_template_begin, vask_report_template_end}; }

}  // namespace vask::command
