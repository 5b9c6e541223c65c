// Pictures of the reference host: bitmap contexts (desktop), true-colour images (console
// and web) and vector pictures that must be drawn, each readable and writable by colour.
#pragma once

#include <memory>
#include <vector>

#include "host/host_types.h"
#include "platform/core_graphics.h"
#include "refhost/system/guarded_buffer.h"
#include "refhost/model/objects.h"

namespace refhost {

struct Rgba {
  uint8_t r = 0, g = 0, b = 0, a = 255;
  bool operator==(const Rgba& other) const { return r == other.r && g == other.g && b == other.b && a == other.a; }
  bool operator!=(const Rgba& other) const { return !(*this == other); }
};

// A colour as a true-colour pixel holds it (alpha in 7 bits), and so as a picture of another
// kind gets it back from the true-colour rendering it lent.
Rgba ThroughTrueColor(Rgba colour);

enum class PictureKind { Bitmap, TrueColor, Vector };

struct PictureSetup {
  PictureKind kind = PictureKind::Bitmap;
  int32_t width = 1;
  int32_t height = 1;
  bool has_alpha = false;         // the "HasAlphaChannel" property
  uint32_t alpha_info = 6;        // bitmap: the context's alpha info, 0 to 7
  size_t bits_per_component = 8;  // bitmap: 8 makes 32-bit pixels (24-bit with alpha info 0)
  int32_t row_padding = 0;        // bitmap: bytes after each row's pixels
  bool palette = false;           // true colour: a palette image, which can't be opened
  bool true_color_flag = true;    // true colour: the image record's flag
  bool refuse_locks = false;      // every pixel lock is refused
  Rgba fill{255, 255, 255, 255};
};

// A true-colour image record with its rows: the gd library's own where the host has it.
class TrueColorStore {
 public:
  TrueColorStore(int32_t width, int32_t height, bool palette);
  ~TrueColorStore();
  TrueColorStore(const TrueColorStore&) = delete;
  TrueColorStore& operator=(const TrueColorStore&) = delete;
  TrueColorImage* record() const { return record_; }
  void Set(int32_t x, int32_t y, Rgba colour);
  Rgba Get(int32_t x, int32_t y) const;

 private:
  TrueColorImage* record_ = nullptr;
  std::unique_ptr<GuardedBuffer> rows_;       // without gd: the pixels
  std::vector<int32_t*> row_table_;           // without gd: the row table
  std::vector<unsigned char*> palette_rows_;  // without gd: palette rows
};

class Picture : public Object {
 public:
  explicit Picture(const PictureSetup& setup);
  ~Picture() override;

  const PictureSetup& setup() const { return setup_; }
  int32_t width() const { return setup_.width; }
  int32_t height() const { return setup_.height; }
  void SetPixel(int32_t x, int32_t y, Rgba colour);
  void Fill(Rgba colour);
  Rgba GetPixel(int32_t x, int32_t y) const;

  // The pixel lock as "REALLockPictureDescription" and "unlockPictureDescription" see it.
  bool Lock(REALpictureDescription* description, RBPixelType type, bool lendTrueColor);
  void Unlock();
  int locks() const override { return locks_; }
  // Unlocks that came without a lock (hosts before 2012.0 ask for them after a refusal).
  int stray_unlocks() const { return stray_unlocks_; }

  // Raw storage, for tests that look at bytes.
  uint8_t* bitmap_row(int32_t y) const;
  size_t bytes_per_row() const { return bytes_per_row_; }
  TrueColorImage* image() const { return setup_.kind == PictureKind::TrueColor ? store_->record() : nullptr; }

  bool GetInt(const std::string& name, int32_t* value) override;
  bool GetBool(const std::string& name, bool* value) override;

 private:
  PictureSetup setup_;
  int locks_ = 0;
  int stray_unlocks_ = 0;
  // Bitmap pictures.
  std::unique_ptr<GuardedBuffer> pixels_;
  size_t bytes_per_pixel_ = 4;
  size_t bytes_per_row_ = 0;
  CGContextRef context_ = nullptr;
  // True-colour pictures, and the rendering other pictures lend as one.
  std::unique_ptr<TrueColorStore> store_;
  bool lent_ = false;
  // Vector pictures: what they draw.
  std::vector<Rgba> drawing_;
};

// The object through which one draws into a picture; holds a reference to it.
class Graphics : public Object {
 public:
  explicit Graphics(Picture* target) : Object("Graphics"), target_(target) {}
  Picture* target() const { return target_; }
  void ReleaseHeld(Host& host) override;

 private:
  Picture* target_;
};

}  // namespace refhost
