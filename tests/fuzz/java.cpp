// Every native method of the Java classes, in any order, on a virtual machine whose calls fail: with bad
// arguments where anybody may call them, with those that VaskStream lets through where only that does.
#include <com_norv_Brindle_Vask.h>
#include <com_norv_Brindle_VaskStreamLibrary.h>
#include <vask/frontend.h>
#include <vask/stream.h>

#include <bit>
#include <fstream>
#include <iterator>

#include "fuzz/machine.h"
#include "fuzz/sound.h"
#include "support/folder.h"
#include "support/loud_model.h"

#define FRONT_END(method, ...) \
  Java_com_norv_Brindle_Vask_Vask_1##method(machine.env(), nullptr __VA_OPT__(, ) __VA_ARGS__)
#define STREAMS(method, ...) \
  Java_com_norv_Brindle_VaskStreamLibrary_##method(machine.env(), nullptr __VA_OPT__(, ) __VA_ARGS__)

namespace vask::fuzz {
namespace {

constexpr size_t kFields = 45, kMostValues = 12;

struct Files : test::Folder {
  Files() {
    std::ofstream(*this / "samples", std::ios::binary) << std::string(3001, 'x');
    std::ofstream(*this / "model", std::ios::binary) << test::BytesOf(test::LoudModel(10));
    std::ofstream(*this / "damaged", std::ios::binary) << test::BytesOf(test::LoudModel(10)).substr(0, 999);
  }
};

// A string, or none.
std::unique_ptr<Object> Name(Input& input) {
  static const Files files;
  const std::string names[] = {
      files / "samples", files / "model",  files / "damaged", files / "missing", files.path, ".", "",
      files.Filled(118), files.Filled(119)};
  const size_t chosen = input.ConsumeIntegralInRange<size_t>(0, std::size(names));
  if (chosen == std::size(names)) return nullptr;
  return std::make_unique<Object>(std::vector<char>(names[chosen].begin(), names[chosen].end()));
}

// An array of sevens, or none.
template <typename T>
std::unique_ptr<Object> Array(Input& input) {
  if (input.ConsumeIntegralInRange<int>(0, 15) == 0) return nullptr;
  return std::make_unique<Object>(std::vector<T>(input.ConsumeIntegralInRange<size_t>(0, 3000), T{7}));
}

// The elements from there on are as they were.
template <typename T>
void CheckRest(const std::unique_ptr<Object>& array, jint start) {
  if (array == nullptr) return;
  const std::vector<T> values = array->Values<T>();
  const auto from = values.begin() + std::max(start, 0);
  VASK_REQUIRE(start <= array->count && std::count(from, values.end(), T{7}) == values.end() - from);
}

void FrontEnd(Input& input, Machine& machine) {
  const auto n =
      input.ConsumeBool() ? input.ConsumeIntegralInRange<jint>(-2, 3100) : input.ConsumeIntegral<jint>();
  const jint last = input.ConsumeIntegralInRange<jint>(-1, 1), queued = android_get_available_frames();
  const auto samples = Array<jshort>(input);
  const auto bytes = Array<jbyte>(input);
  const auto shorts_out = Handle<jshortArray>(samples.get());
  const auto bytes_out = Handle<jbyteArray>(bytes.get());
  jint delivered = -1, read = -1;
  switch (input.ConsumeIntegralInRange<int>(0, 13)) {
    case 0: {
      const auto name = Name(input);
      FRONT_END(epd_1init, Handle<jstring>(name.get()), input.ConsumeIntegralInRange<jint>(0, 5));
      break;
    }
    case 1:
      FRONT_END(epd_1set_1option, input.ConsumeIntegralInRange<jint>(0, 3), n);
      break;
    case 2:
    case 3:
    case 4: {
      const Samples sound = Sound(input, 3000);
      Object array(sound);
      const bool whole = input.ConsumeBool();
      const jint result =
          FRONT_END(epd_1process_1frames, whole ? array.count : n, Handle<jshortArray>(&array));
      VASK_REQUIRE(result >= -1 && result <= 2);
      break;
    }
    case 5:
      FRONT_END(epd_1process_1frames, n, nullptr);
      break;
    case 6:
      delivered = FRONT_END(epd_1get_1raw_1data, n, shorts_out);
      CheckRest<jshort>(samples, delivered);
      break;
    case 7:
      delivered = FRONT_END(epd_1get_1pkt_1data, n, bytes_out, last);
      CheckRest<jbyte>(bytes, delivered);
      break;
    case 8:
      delivered = FRONT_END(epd_1get_1pkt_1stream, n, bytes_out, last);
      CheckRest<jbyte>(bytes, delivered);
      break;
    case 9:
      FRONT_END(epd_1wrapup);
      break;
    case 10:
      FRONT_END(epd_1reset);
      VASK_REQUIRE(FRONT_END(epd_1get_1mfc_1data) == 0);
      break;
    case 11: {
      const auto name = Name(input);
      FRONT_END(fclose);  // it would be forgotten
      FRONT_END(fopen, Handle<jstring>(name.get()));
      break;
    }
    case 12:
      read = FRONT_END(fread, n, shorts_out);
      CheckRest<jshort>(samples, read);
      break;
    default:
      read = FRONT_END(fread_1byte, n, bytes_out);
      CheckRest<jbyte>(bytes, read);
      break;
  }
  const Machine::End end = machine.Return();
  if (!end.thrown.empty() && delivered >= 0)  // before anything is taken
    VASK_REQUIRE(delivered == 0 && android_get_available_frames() == queued);
}

// A stream as VaskStream holds it, and what that lets through.
class StreamOfJava {
 public:
  StreamOfJava(Input& input, Machine& machine) : input_(input), machine_(machine) {}
  ~StreamOfJava() { Close(); }
  StreamOfJava(const StreamOfJava&) = delete;
  StreamOfJava& operator=(const StreamOfJava&) = delete;

  void Run() {
    if (handle_ == 0) return Open();
    Machine& machine = machine_;
    Object values(std::vector<jlong>(kMostValues, 7));
    const int call = input_.ConsumeIntegralInRange<int>(0, 12);
    Object samples(call < 3 ? Sound(input_, 12000) : Samples(input_.ConsumeIntegralInRange<size_t>(0, 5000)));
    const auto array = Handle<jshortArray>(&samples);
    const auto offset = input_.ConsumeIntegralInRange<jint>(0, samples.count);
    const auto n = input_.ConsumeIntegralInRange<jint>(0, samples.count - offset);
    const jint odd = input_.ConsumeIntegralInRange<int>(0, 7) == 7 && n > 0 ? 1 : 0;
    jint done = 0;
    switch (call) {
      case 0:
      case 1:
        done = STREAMS(writeArray, handle_, array, offset, n);
        VASK_REQUIRE(done <= n);
        break;
      case 2:
        done = STREAMS(writeBuffer, handle_, Handle<jobject>(&samples), 2 * offset + odd, n - odd);
        VASK_REQUIRE(done <= n - odd && (odd == 0 || done == 0));
        break;
      case 3:
        STREAMS(flush, handle_);
        break;
      case 4:
        STREAMS(next, handle_, Handle<jlongArray>(&values));
        break;
      case 5:
        VASK_REQUIRE(STREAMS(available, handle_) >= 0);
        break;
      case 6:
      case 7:
        done = STREAMS(readArray, handle_, array, offset, n);
        VASK_REQUIRE(done >= 0 && done <= n);
        break;
      case 8:
        done = STREAMS(readBuffer, handle_, Handle<jobject>(&samples), 2 * offset + odd, n - odd);
        VASK_REQUIRE(done >= 0 && done <= n - odd && (odd == 0 || done == 0));
        break;
      case 9:
        STREAMS(measure, handle_, Handle<jlongArray>(&values));
        break;
      case 10:
        STREAMS(hear, handle_, Handle<jlongArray>(&values));
        break;
      case 11:
        STREAMS(setPause, handle_, std::bit_cast<float>(input_.ConsumeIntegral<uint32_t>()));
        break;
      default:
        input_.ConsumeBool() ? STREAMS(reset, handle_) : Close();
        break;
    }
    VASK_REQUIRE(machine.Return().exception ? done <= n : true);
  }

 private:
  static bool IsFloat(size_t field) { return (field >= 28 && field <= 40) || field >= 43; }

  void Open() {
    Machine& machine = machine_;
    const auto any = [&] { return input_.ConsumeIntegral<jint>(); };
    Object options{std::vector<jdouble>(kFields)};
    const auto array = Handle<jdoubleArray>(&options);
    STREAMS(version), machine.Return();
    STREAMS(kindName, any()), machine.Return();
    STREAMS(reasonName, any()), machine.Return();
    STREAMS(defaults, array);
    if (machine.Return().exception) return;
    if (input_.ConsumeBool()) STREAMS(robust, array), machine.Return();
    if (input_.ConsumeBool()) STREAMS(profile, any(), any(), array), machine.Return();
    auto* const fields = reinterpret_cast<jdouble*>(options.bytes.get());
    fields[0] = input_.ConsumeIntegralInRange<int>(0, 2);
    for (int changes = input_.ConsumeIntegralInRange<int>(0, 4); changes > 0; --changes) {
      const size_t field = input_.ConsumeIntegralInRange<size_t>(0, kFields - 1);
      fields[field] = IsFloat(field)         ? static_cast<jdouble>(std::bit_cast<float>(any()))
                      : input_.ConsumeBool() ? any()
                                             : input_.ConsumeIntegralInRange<jint>(0, 48000);
    }
    const auto name = Name(input_);
    handle_ = STREAMS(open, array, Handle<jstring>(name.get()));
    const Machine::End end = machine.Return();
    VASK_REQUIRE(end.exception == (handle_ == 0));  // a stream, or why there is none
  }

  void Close() {
    Machine& machine = machine_;
    if (handle_ != 0) STREAMS(close, handle_);
    handle_ = 0;
  }

  Input& input_;
  Machine& machine_;
  jlong handle_ = 0;
};

void Run(Input& input) {
  Machine machine(input);
  StreamOfJava one(input, machine), two(input, machine);
  for (int calls = 0; calls < 60 && input.remaining_bytes() > 0; ++calls) {
    const int which = input.ConsumeIntegralInRange<int>(0, 3);
    if (which < 2) {
      FrontEnd(input, machine);
    } else {
      (which == 2 ? one : two).Run();
    }
  }
  FRONT_END(fclose);
  FRONT_END(epd_1wrapup);
  android_stop_frontend();
}

}  // namespace
}  // namespace vask::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vask::fuzz::Input input(data, size);
  vask::fuzz::Run(input);
  return 0;
}
