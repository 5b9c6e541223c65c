// The 50 methods against the test's own account of them: every method on pictures of every
// format, the case table of lines, pitches, masks, destinations, tints, tables, hosts and
// failures (tests/data/calls.txt), each at every choice of kernels, and what the host sees of
// pictures.
#include "tests/support/host_fixture.h"

namespace {

using pixeltest::kCopyCount;

TEST(Methods, CaseTable) { pixeltest::ExpectCaseTable(PIXELBRIDGE_PROBE); }
TEST(Methods, CaseTableAsShipped) { pixeltest::ExpectCaseTable(PIXELBRIDGE_PLUGIN); }

// Copies take lines 1 to 3 of 4 from a picture of each format, with a gap after each line
// and bytes before the offset; conversions make pictures of each format; at every choice of
// kernels. On the first format the calls run once more storing around the caches, as calls
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
              std::string line = std::to_string(number);
              if (number <= kCopyCount)
                line += " picture=21x4:" + format + " MaskForAlpha=21x4:" + format +
                        " offset=3 AlphaValue=0xC3 PixelByteSize=3 LittleEndian=1 StartLine=1 EndLine=3"
                        " DestRowBytes=100 -> true 1..3";
              else
                line += std::string(" offset=3 width=21 height=3 PixelByteSize=3 FlipVertically=1 LittleEndian=1") +
                        (number == 33 || number == 49   ? " Red=300 Blue=128 Green=-1"
                         : number == 34 || number == 50 ? " Red=0,1,2,255 Blue=nil Green=77,-5"
                                                        : "") +
                        " -> picture";
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

// A host that answers for no application class is asked again at each open, three classes
// each time, until a granted lock settles its kind: a bitmap context on a desktop host, a
// true-colour image on a console one (whose second call opens a drawn copy too, and asks
// for it as well).
TEST(Methods, HostKindAskedUntilALockIsGranted) {
  for (const std::string kind : {"desktop", "console"}) {
    SCOPED_TRACE(kind);
    pixeltest::InHost(pixeltest::ParseHost("host " + kind + " lacking=pluginObjectType", PIXELBRIDGE_PLUGIN),
                      [&](refhost::Host& host) {
                        pixeltest::ExpectCall(host, "1 picture=2x2:alpha:refuse -> false");
                        pixeltest::ExpectCall(host, "1 picture=2x2 -> true");
                        pixeltest::ExpectCall(host, "1 picture=2x2 -> true");
                        EXPECT_EQ(host.LookupCount("pluginObjectType"), kind == "console" ? 9 : 6);
                      });
  }
}

}  // namespace
