// The 50 methods against the test's own account of them: every method on pictures of every
// format, the case table of lines, pitches, masks, destinations, tints, tables, hosts and
// failures (tests/data/calls.txt), each at every choice of kernels, and what the host sees of
// pictures.
#include "tests/support/host_fixture.h"

namespace {

using pixeltest::kCopyCount;

TEST(Methods, CaseTable) { pixeltest::ExpectCaseTable(PIXELBRIDGE_PROBE); }
TEST(Methods, CaseTableAsShipped) { pixeltest::ExpectCaseTable(PIXELBRIDGE_PLUGIN); }

// Tints or tables for red, green and blue, for the conversions that declare them so.
const std::pair<const char*, const char*> kColours[] = {{"Red as integer", " Red=300 Blue=128 Green=-1"},
                                                        {"Red() as integer", " Red=0,1,2,255 Blue=nil Green=77,-5"}};

// A call of method `number` on pictures of `format`: a copy of lines 1 to 3 of 4, with a gap
// after each line and bytes before the offset; a conversion into a picture. Each method takes
// the arguments it declares.
std::string CallLine(int number, const std::string& format) {
  std::string line = std::to_string(number) + " offset=3 PixelByteSize=3 LittleEndian=1";
  if (number <= kCopyCount) {
    line += " picture=21x4:" + format + " MaskForAlpha=21x4:" + format +
            " AlphaValue=0xC3 StartLine=1 EndLine=3 DestRowBytes=100 -> true 1..3";
  } else {
    line += " width=21 height=3 FlipVertically=1";
    for (const auto& [declared, arguments] : kColours)
      if (pixeltest::DeclarationOf(number).find(declared) != std::string::npos) line += arguments;
    line += " -> picture";
  }
  return line;
}

// Every method on pictures of each format (conversions make pictures of it), at every choice
// of kernels. On the first format the calls run once more storing around the caches, as calls
// larger than the last-level cache do, through each level's streaming kernels where it has
// them.
TEST(Methods, EveryMethodOnEveryPictureFormat) {
  const char* const formats[] = {"alpha:format1:pad12", "alpha:format2:pad12", "format3:pad12", "format4:pad12",
                                 "format5:pad12",       "format6:pad12",       "truecolour",    "vector"};
  for (const std::string format : formats) {
    SCOPED_TRACE(format);
    refhost::HostConfig config =
        pixeltest::ProbeConfig(format == "truecolour" ? refhost::HostKind::Console : refhost::HostKind::Desktop);
    if (format.find("format") != std::string::npos)
      config.new_picture_alpha_info = uint32_t(format[format.find("format") + 6] - '0');
    for (const bool streaming : {false, true}) {
      if (streaming && format != formats[0]) break;
      SCOPED_TRACE(streaming ? "stores around the caches" : "ordinary stores");
      pixeltest::InChild([&] {
        pixeltest::ForEachKernelChoice([&] {
          pixeltest::WithHost(config, [&](refhost::Host& host) {
            if (streaming) pixeltest::Probe<void (*)(int64_t)>(host, "PixelbridgeProbeStreamFrom")(0);
            for (int number = 1; number <= pixeltest::kMethodCount; ++number) {
              if (number > kCopyCount && format == "vector") break;
              const std::string line = CallLine(number, format);
              SCOPED_TRACE(line);
              pixeltest::MethodCall call = pixeltest::ParseCall(line);
              call.spare = true;
              pixeltest::ExpectCall(host, call);
            }
          });
        });
      });
    }
  }
}

// What a call makes ready for its conversion is found again by a later call only if that call
// would choose the same kernel: another row of the kernel table, another SIMD level or stores
// around the caches make their own, and going back finds each again.
TEST(Methods, KeptConversionsFollowTheChoiceOfKernel) {
  pixeltest::InHost(pixeltest::ProbeConfig(), [](refhost::Host& host) {
    const auto choose = pixeltest::Probe<pixeltest::ChooseKernels>(host, "PixelbridgeProbeChooseAs");
    const auto madeReady = pixeltest::Probe<int64_t (*)()>(host, "PixelbridgeProbeMadeReady");
    const std::vector<pixeltest::KernelChoice> choices = pixeltest::KernelChoices(choose);
    ASSERT_GE(choices.size(), 2u);
    const pixeltest::KernelChoice first = choices.front(), last = choices.back();
    struct Step {
      pixeltest::KernelChoice choice;
      int64_t streamFrom;
      int64_t made;  // conversions the call makes ready
    };
    for (const Step& step : {Step{first, INT64_MAX, 1}, Step{first, INT64_MAX, 0}, Step{first, 0, 1},
                             Step{last, INT64_MAX, 1}, Step{first, INT64_MAX, 0}, Step{first, 0, 0}}) {
      SCOPED_TRACE(step.choice.Name() + (step.streamFrom == 0 ? ", streaming" : ""));
      ASSERT_TRUE(choose(step.choice.row, step.choice.level, step.streamFrom));
      const int64_t before = madeReady();
      pixeltest::ExpectCall(host, "3 picture=4x3 AlphaValue=0x40 -> true");
      EXPECT_EQ(madeReady() - before, step.made);
    }
  });
}

// A host that answers for no application class is asked again at each open until a granted
// lock settles its kind (a bitmap context on a desktop host, a true-colour image on a console
// one), and never after.
TEST(Methods, HostKindAskedUntilALockIsGranted) {
  for (const std::string kind : {"desktop", "console"}) {
    SCOPED_TRACE(kind);
    pixeltest::InHost(pixeltest::ParseHost("host " + kind + " lacking=pluginObjectType", PIXELBRIDGE_PLUGIN),
                      [&](refhost::Host& host) {
                        std::vector<int> asked;  // lookups of the kind after each call
                        for (const char* line : {"1 picture=2x2:alpha:refuse -> false", "1 picture=2x2 -> true",
                                                 "1 picture=2x2 -> true"}) {
                          pixeltest::ExpectCall(host, line);
                          asked.push_back(host.LookupCount("pluginObjectType"));
                        }
                        EXPECT_GT(asked[0], 0);
                        EXPECT_GT(asked[1], asked[0]) << "not asked again after a refused lock";
                        EXPECT_EQ(asked[2], asked[1]) << "asked again after a granted lock";
                      });
  }
}

}  // namespace
