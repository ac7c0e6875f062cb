#include "jobs/report/page.h"

#include <zlib.h>

#include <vector>

#include "jobs/report/template.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr std::string_view kDataGoesHere = "<!--data-->";

std::string Base64(std::span<const uint8_t> bytes) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    uint32_t group = 0;
    const size_t count = std::min<size_t>(bytes.size() - i, 3);
    for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < count ? bytes[i + k] : 0U);
    for (size_t k = 0; k < 4; ++k) text += k <= count ? kDigits[group >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

}  // namespace

Page::Page(const std::string& target) : file_(target, OutputFile::Content::kText) {
  const std::string_view page = ReportTemplate();
  Append(page.substr(0, page.find(kDataGoesHere)));
}

void Page::AddJson(std::string_view name, const nlohmann::json& value) {
  constexpr bool kAscii = true;
  const std::string text = value.dump(-1, ' ', kAscii, nlohmann::json::error_handler_t::replace);
  std::string safe;  // "</script>" in a file's name would end the element
  for (const char c : text) {
    if (c == '<') {
      safe += "\\u003c";
    } else {
      safe += c;
    }
  }
  AddElement(name, "application/json", safe);
}

void Page::AddFile(std::string_view name, std::span<const uint8_t> bytes) {
  AddElement(name, "text/plain", Base64(bytes));
}

void Page::AddValues(std::string_view name, std::span<const uint8_t> bytes) {
  uLongf size = compressBound(bytes.size());
  std::vector<uint8_t> deflated(size);
  if (compress2(deflated.data(), &size, bytes.data(), bytes.size(), Z_DEFAULT_COMPRESSION) != Z_OK) {
    throw FatalError("the report cannot be compressed: report this as a bug");
  }
  AddFile(name, std::span(deflated).first(size));
}

void Page::Commit() {
  const std::string_view page = ReportTemplate();
  Append(page.substr(page.find(kDataGoesHere) + kDataGoesHere.size()));
  file_.Commit();
}

void Page::Append(std::string_view text) {
  file_.Append({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

void Page::AddElement(std::string_view name, std::string_view type, std::string_view text) {
  Append("<script id=\"data-");
  Append(name);
  Append("\" type=\"");
  Append(type);
  Append("\">");
  Append(text);
  Append("</script>\n");
}

}  // namespace vask::command
