// Opening pictures for pixel access, the row cursor, release, and the picture writer.
#include <algorithm>

#include "tests/support/host_fixture.h"
#include "tests/support/probe.h"

using pixeltest::InHost;
using refhost::Host;
using refhost::HostConfig;
using refhost::Object;
using refhost::Picture;
using refhost::PictureKind;
using refhost::PictureSetup;
using refhost::Rgba;

namespace {

// The editor entry points of the probe build.
struct Editor {
  explicit Editor(Host& host, bool writer = false) : host(host) {
    editor = pixeltest::Probe<PictureEditor* (*)(bool)>(host, "PixelbridgeProbeNewEditor")(writer);
  }
  ~Editor() { Call<void (*)(PictureEditor*)>("PixelbridgeProbeDeleteEditor")(editor); }
  template <typename F>
  F Call(const char* name) {
    return pixeltest::Probe<F>(host, name);
  }
  bool Open(Object* picture, bool forReading, bool forWriting) {
    auto open = Call<bool (*)(PictureEditor*, void*, bool, bool)>("PixelbridgeProbeOpen");
    return open(editor, picture ? picture->handle() : nullptr, forReading, forWriting);
  }
  bool NewWriter(Object* destination, int32_t width, int32_t height) {
    auto make = Call<bool (*)(PictureEditor*, void*, int32_t, int32_t)>("PixelbridgeProbeNewWriter");
    return make(editor, destination ? destination->handle() : nullptr, width, height);
  }
  void* Render() { return Call<void* (*)(PictureEditor*)>("PixelbridgeProbeRender")(editor); }
  void NextRow() { Call<void (*)(PictureEditor*)>("PixelbridgeProbeNextRow")(editor); }
  void Release() { Call<void (*)(PictureEditor*)>("PixelbridgeProbeRelease")(editor); }
  ProbeEditorFields Fields() {
    ProbeEditorFields fields{};
    Call<void (*)(PictureEditor*, ProbeEditorFields*)>("PixelbridgeProbeEditorFields")(editor, &fields);
    return fields;
  }
  Host& host;
  PictureEditor* editor;
};

HostConfig Config(refhost::HostKind kind = refhost::HostKind::Desktop, double version = 2013.03) {
  HostConfig config = pixeltest::ProbeConfig();
  config.kind = kind;
  config.version = version;
  return config;
}

Rgba ColourAt(int32_t x, int32_t y) {
  return Rgba{static_cast<uint8_t>(x * 16 + 1), static_cast<uint8_t>(y * 32 + 2), static_cast<uint8_t>(x ^ y), 255};
}

Picture* Painted(Host& host, PictureSetup setup) {
  Picture* picture = host.NewPicture(setup);
  for (int32_t y = 0; y < setup.height; ++y)
    for (int32_t x = 0; x < setup.width; ++x) picture->SetPixel(x, y, ColourAt(x, y));
  return picture;
}

// Runs `body` as the host runs a method, so that references and locks are audited.
void Balanced(Host& host, const std::function<void()>& body) {
  pixeltest::ExpectBalanced(host.Run([&]() -> void* {
    body();
    return nullptr;
  }));
}

// R, G, B of pixel x in an open editor's row, by its format.
Rgba Colour(const uint8_t* row, int32_t x, int32_t format) {
  const uint8_t* p = row + 4 * x;
  if (format == 8) return Rgba{p[2], p[1], p[0], 255};
  if (format == 2 || format == 4 || format == 6) return Rgba{p[1], p[2], p[3], 255};
  return Rgba{p[0], p[1], p[2], 255};
}

TEST(PictureOpen, DesktopBitmapFormats) {
  struct Case {
    bool hasAlpha;
    uint32_t alphaInfo;
    size_t bitsPerComponent;
    int32_t format;  // 0: can't be opened
  };
  const Case cases[] = {{true, 1, 8, 1},  {true, 2, 8, 2},  {true, 3, 8, 0},  {true, 4, 8, 0},  {true, 6, 8, 0},
                        {false, 1, 8, 1}, {false, 2, 8, 2}, {false, 3, 8, 3}, {false, 4, 8, 4}, {false, 5, 8, 5},
                        {false, 6, 8, 6}, {false, 0, 8, 0}, {false, 7, 8, 0}, {false, 6, 6, 0}};
  InHost(Config(), [&](Host& host) {
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << "alpha " << c.hasAlpha << " info " << c.alphaInfo << " bpc " << c.bitsPerComponent);
      PictureSetup setup;
      setup.width = 5, setup.height = 3, setup.row_padding = 12;
      setup.has_alpha = c.hasAlpha, setup.alpha_info = c.alphaInfo, setup.bits_per_component = c.bitsPerComponent;
      Picture* picture = Painted(host, setup);
      Balanced(host, [&] {
        Editor editor(host);
        ASSERT_EQ(editor.Open(picture, true, false), c.format != 0);
        const ProbeEditorFields fields = editor.Fields();
        if (c.format == 0) {
          EXPECT_EQ(picture->locks(), 0);
          EXPECT_EQ(fields.picture, nullptr);
          EXPECT_EQ(host.CallCount("newPicture"), 0);
          return;
        }
        EXPECT_EQ(fields.pixelFormat, c.format);
        EXPECT_EQ(fields.width, 5);
        EXPECT_EQ(fields.height, 3);
        EXPECT_EQ(fields.rowBytes, 5 * 4 + 12);
        EXPECT_EQ(fields.bytesPerPixel, 4);
        EXPECT_EQ(fields.baseAddress, picture->bitmap_row(0));
        EXPECT_EQ(fields.currentRow, fields.baseAddress);
        EXPECT_EQ(fields.picture, picture->handle());
        EXPECT_EQ(fields.hasAlphaChannel, c.hasAlpha);
        EXPECT_EQ(picture->refs(), 2);
        EXPECT_EQ(picture->locks(), 1);
        EXPECT_EQ(Colour(fields.baseAddress, 4, c.format), ColourAt(4, 0));
      });
      host.Release(picture);
    }
  });
}

// Hosts before 2012.0 expect an unlock after a refused lock; later hosts don't.
TEST(PictureOpen, UnlockAfterRefusedLockOnlyBefore2012) {
  for (double version : {2011.99, 2012.0}) {
    SCOPED_TRACE(version);
    InHost(Config(refhost::HostKind::Desktop, version), [&](Host& host) {
      PictureSetup setup;
      setup.has_alpha = true, setup.refuse_locks = true;
      Picture* picture = host.NewPicture(setup);
      Balanced(host, [&] {
        Editor editor(host);
        EXPECT_FALSE(editor.Open(picture, true, false));
      });
      EXPECT_EQ(host.CallCount("REALLockPictureDescription"), 1);
      EXPECT_EQ(picture->stray_unlocks(), version < 2012.0 ? 1 : 0);
      host.Release(picture);
    });
  }
}

// A picture with no bitmap to lend is read through a drawn copy; it is never written
// that way, and a picture with alpha is never drawn.
TEST(PictureOpen, DrawnCopyOnlyForReadingPicturesWithoutAlpha) {
  struct Case {
    bool hasAlpha;
    bool forWriting;
    bool opens;
  };
  for (const Case& c : {Case{false, false, true}, Case{false, true, false}, Case{true, false, false}}) {
    SCOPED_TRACE(testing::Message() << "alpha " << c.hasAlpha << " writing " << c.forWriting);
    InHost(Config(), [&](Host& host) {
      PictureSetup setup;
      setup.kind = PictureKind::Vector, setup.width = 7, setup.height = 4, setup.has_alpha = c.hasAlpha;
      Picture* vector = Painted(host, setup);
      Balanced(host, [&] {
        Editor editor(host);
        ASSERT_EQ(editor.Open(vector, !c.forWriting, c.forWriting), c.opens);
        EXPECT_EQ(host.CallCount("newPicture"), c.opens ? 1 : 0);
        if (!c.opens) return;
        const ProbeEditorFields fields = editor.Fields();
        EXPECT_NE(fields.picture, vector->handle());
        EXPECT_EQ(vector->refs(), 1) << "the editor holds the copy, not the picture";
        EXPECT_EQ(fields.width, 7);
        EXPECT_EQ(fields.height, 4);
        for (int32_t y = 0; y < 4; ++y) {
          const uint8_t* row = fields.baseAddress + y * fields.rowBytes;
          for (int32_t x = 0; x < 7; ++x) EXPECT_EQ(Colour(row, x, fields.pixelFormat), ColourAt(x, y));
        }
        const std::vector<std::string> calls = host.CallNames();
        const std::vector<std::string> drawing = {"newPicture", "pluginPictureGraphicsGetter", "REALLoadObjectMethod",
                                                  "DrawPicture", "REALUnlockObject"};
        EXPECT_NE(std::search(calls.begin(), calls.end(), drawing.begin(), drawing.end()), calls.end());
      });
      host.Release(vector);
    });
  }
}

// A drawn copy that can't be opened either is not copied again.
TEST(PictureOpen, DrawnCopyNestsOneLevel) {
  HostConfig config = Config();
  config.new_pictures_refuse_locks = true;
  InHost(config, [](Host& host) {
    PictureSetup setup;
    setup.kind = PictureKind::Vector;
    Picture* vector = host.NewPicture(setup);
    Balanced(host, [&] { EXPECT_FALSE(Editor(host).Open(vector, true, false)); });
    EXPECT_EQ(host.CallCount("newPicture"), 1);
    host.Release(vector);
  });
}

// Without a DrawPicture method the copy takes the picture's rows through true-colour locks.
TEST(PictureOpen, RowCopyWhenTheHostCantDraw) {
  for (bool lend : {true, false}) {
    SCOPED_TRACE(lend);
    HostConfig config = Config(refhost::HostKind::Desktop, 2011.0);
    config.no_draw_method = true;
    config.lend_true_color = lend;
    InHost(config, [&](Host& host) {
      PictureSetup setup;
      setup.kind = PictureKind::Vector, setup.width = 6, setup.height = 3;
      Picture* vector = Painted(host, setup);
      Balanced(host, [&] {
        Editor editor(host);
        ASSERT_TRUE(editor.Open(vector, true, false));
        const ProbeEditorFields fields = editor.Fields();
        for (int32_t y = 0; y < 3; ++y)
          for (int32_t x = 0; x < 6; ++x)
            EXPECT_EQ(Colour(fields.baseAddress + y * fields.rowBytes, x, fields.pixelFormat),
                      lend ? ColourAt(x, y) : (Rgba{255, 255, 255, 255}));
        EXPECT_EQ(host.CallCount("DrawPicture"), 0);
      });
      // The refused bitmap lock, and the refused true-colour lock without lending.
      EXPECT_EQ(vector->stray_unlocks(), lend ? 1 : 2);
      host.Release(vector);
    });
  }
}

TEST(PictureOpen, ConsoleAndWebHostsOpenTrueColourImages) {
  struct Case {
    refhost::HostKind kind;
    bool palette;
    bool trueColorFlag;
    bool opens;
  };
  const Case cases[] = {{refhost::HostKind::Console, false, true, true},
                        {refhost::HostKind::Web, false, true, true},
                        {refhost::HostKind::Console, true, true, false},
                        {refhost::HostKind::Console, false, false, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "palette " << c.palette << " flag " << c.trueColorFlag);
    InHost(Config(c.kind), [&](Host& host) {
      PictureSetup setup;
      setup.kind = PictureKind::TrueColor, setup.width = 9, setup.height = 5;
      setup.palette = c.palette, setup.true_color_flag = c.trueColorFlag;
      Picture* picture = c.palette ? host.NewPicture(setup) : Painted(host, setup);
      Balanced(host, [&] {
        Editor editor(host);
        ASSERT_EQ(editor.Open(picture, true, false), c.opens);
        EXPECT_EQ(host.CallCount("REALLockPictureDescription"), 1) << "no bitmap context is asked for";
        if (!c.opens) return;
        const ProbeEditorFields fields = editor.Fields();
        EXPECT_EQ(fields.pixelFormat, 8);
        EXPECT_EQ(fields.rowBytes, 36);
        EXPECT_EQ(fields.rowTable, picture->image()->tpixels);
        EXPECT_EQ(fields.baseAddress, reinterpret_cast<uint8_t*>(picture->image()->tpixels[0]));
        EXPECT_EQ(Colour(fields.baseAddress, 8, 8), ColourAt(8, 0));
      });
      EXPECT_EQ(pixeltest::Probe<int (*)()>(host, "PixelbridgeProbeHostKind")(), 2);
      host.Release(picture);
    });
  }
}

TEST(PictureOpen, RowStepsThroughRowsThenRestsOnRowZero) {
  for (PictureKind kind : {PictureKind::Bitmap, PictureKind::TrueColor}) {
    const bool console = kind == PictureKind::TrueColor;
    InHost(Config(console ? refhost::HostKind::Console : refhost::HostKind::Desktop), [&](Host& host) {
      PictureSetup setup;
      setup.kind = kind, setup.width = 3, setup.height = 4, setup.row_padding = 8;
      Picture* picture = Painted(host, setup);
      Balanced(host, [&] {
        Editor editor(host);
        ASSERT_TRUE(editor.Open(picture, true, false));
        for (int32_t step = 1; step <= 4; ++step) {
          editor.NextRow();
          const ProbeEditorFields fields = editor.Fields();
          EXPECT_EQ(fields.rowIndex, step);
          EXPECT_EQ(fields.column, 0);
          const uint8_t* expected = step == 4 ? fields.baseAddress
                                    : console ? reinterpret_cast<uint8_t*>(picture->image()->tpixels[step])
                                              : picture->bitmap_row(step);
          EXPECT_EQ(fields.currentRow, expected);
        }
      });
      host.Release(picture);
    });
  }
}

TEST(PictureEditor, ReleaseGivesBackOnceInOrder) {
  InHost(Config(), [](Host& host) {
    Picture* picture = host.NewPicture(PictureSetup{});
    host.ClearLog();
    { Editor never(host); }
    EXPECT_TRUE(host.CallNames().empty()) << "an editor never opened makes no host call";
    for (bool forWriting : {false, true}) {
      Balanced(host, [&] {
        Editor editor(host);
        ASSERT_TRUE(editor.Open(picture, !forWriting, forWriting));
        host.ClearLog();
        editor.Release();
        editor.Release();
        std::vector<std::string> expected = {"unlockPictureDescription", "REALPictureClearCache", "REALUnlockObject"};
        if (!forWriting) expected.erase(expected.begin() + 1);
        EXPECT_EQ(host.CallNames(), expected);
      });
    }
    // Opening a nil picture releases what the editor held first.
    Balanced(host, [&] {
      Editor editor(host);
      ASSERT_TRUE(editor.Open(picture, true, false));
      EXPECT_FALSE(editor.Open(nullptr, true, false));
      EXPECT_EQ(picture->locks(), 0);
      EXPECT_EQ(picture->refs(), 1);
    });
    host.Release(picture);
  });
}

// A host with both application classes is a desktop host; a host that answers for no
// class is asked again at the next open, until a granted lock settles it.
TEST(PictureOpen, HostKindDetection) {
  HostConfig both = Config();
  both.extra_classes = {"ConsoleApplication"};
  InHost(both, [](Host& host) {
    Picture* picture = host.NewPicture(PictureSetup{});
    Balanced(host, [&] { EXPECT_TRUE(Editor(host).Open(picture, true, false)); });
    EXPECT_EQ(pixeltest::Probe<int (*)()>(host, "PixelbridgeProbeHostKind")(), 1);
    host.Release(picture);
  });
  HostConfig unknown = Config();
  unknown.missing = {"pluginObjectType"};
  InHost(unknown, [](Host& host) {
    PictureSetup refused;
    refused.has_alpha = true, refused.refuse_locks = true;
    Picture* first = host.NewPicture(refused);
    Picture* second = host.NewPicture(PictureSetup{});
    host.ClearLog();
    Balanced(host, [&] { EXPECT_FALSE(Editor(host).Open(first, true, false)); });
    Balanced(host, [&] { EXPECT_TRUE(Editor(host).Open(second, true, false)); });
    Balanced(host, [&] { EXPECT_TRUE(Editor(host).Open(second, true, false)); });
    EXPECT_EQ(host.LookupCount("pluginObjectType"), 6) << "asked three times at each of the first two opens";
    host.Release(first);
    host.Release(second);
  });
}

TEST(PictureWriter, ReusesALargeEnoughDestinationOtherwiseMakesAPicture) {
  struct Case {
    int32_t destinationWidth, destinationHeight;  // 0: no destination
    bool refuseLocks;
    int32_t width, height;
    bool opens;
    bool reused;
  };
  const Case cases[] = {
      {100, 100, false, 50, 60, true, true},   {40, 100, false, 50, 60, true, false},
      {0, 0, false, 32767, 1, true, false},    {0, 0, false, 32768, 1, false, false},
      {0, 0, false, 0, 5, false, false},       {100, 100, true, 50, 60, true, false},
      {50000, 2, false, 40000, 2, true, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.destinationWidth << "x" << c.destinationHeight << " for " << c.width << "x"
                                    << c.height);
    InHost(Config(), [&](Host& host) {
      Picture* destination = nullptr;
      if (c.destinationWidth > 0) {
        PictureSetup setup;
        setup.width = c.destinationWidth, setup.height = c.destinationHeight, setup.refuse_locks = c.refuseLocks;
        destination = host.NewPicture(setup);
      }
      host.ClearLog();
      refhost::CallResult result = host.Run([&]() -> void* {
        Editor writer(host, true);
        EXPECT_EQ(writer.NewWriter(destination, c.width, c.height), c.opens);
        return writer.Render();
      });
      pixeltest::ExpectBalanced(result);
      EXPECT_EQ(result.picture != nullptr, c.opens);
      if (c.opens) {
        EXPECT_EQ(result.picture == destination, c.reused);
        auto* picture = static_cast<Picture*>(result.picture);
        EXPECT_EQ(picture->width(), c.reused ? c.destinationWidth : c.width);
        EXPECT_EQ(picture->height(), c.reused ? c.destinationHeight : c.height);
        host.Release(result.picture);
      }
      EXPECT_EQ(host.CallCount("newPicture"), c.opens && !c.reused ? 1 : 0);
      if (destination != nullptr) host.Release(destination);
    });
  }
}

// The host sees a new picture made, opened, handed back, released, in this order.
TEST(PictureWriter, HostCallsForANewPicture) {
  InHost(Config(), [](Host& host) {
    Picture* warm = host.NewPicture(PictureSetup{});  // settles the host kind first
    Balanced(host, [&] { EXPECT_TRUE(Editor(host).Open(warm, true, false)); });
    host.Release(warm);
    host.ClearLog();
    refhost::CallResult result = host.Run([&]() -> void* {
      Editor writer(host, true);
      EXPECT_TRUE(writer.NewWriter(nullptr, 3, 2));
      host.NoteCall("(pixel writes)");
      return writer.Render();
    });
    pixeltest::ExpectBalanced(result);
    const std::vector<std::string> expected = {
        "newPicture",       "REALGetPropValueBool",     "REALLockPictureDescription",
        "REALLockObject",   "REALUnlockObject",         "(pixel writes)",
        "REALLockObject",   "REALPictureClearCache",    "unlockPictureDescription",
        "REALPictureClearCache", "REALUnlockObject"};
    EXPECT_EQ(host.CallNames(), expected);
    host.Release(result.picture);
  });
}

}  // namespace
