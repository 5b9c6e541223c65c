// Arguments and nearest reference conversions for every method.
#include "bench/subjects.h"

#include <libyuv.h>

#include <cstring>

namespace bench {
namespace {

uintptr_t Word(refhost::Object* object) { return reinterpret_cast<uintptr_t>(object->handle()); }
uintptr_t Word(int32_t value) { return static_cast<uintptr_t>(static_cast<intptr_t>(value)); }

// A byte reversal of every pixel: the reference library's generic four-byte shuffle.
const uint8_t kReverse[16] = {3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12};

}  // namespace

Scene MakeScene(refhost::Host& host, int32_t width, int32_t height, int32_t offset) {
  Scene scene;
  scene.width = width, scene.height = height, scene.offset = offset;
  refhost::PictureSetup setup;
  setup.width = width, setup.height = height, setup.alpha_info = 6;
  scene.picture = host.NewPicture(setup);
  scene.mask = host.NewPicture(setup);
  scene.dest = host.NewPicture(setup);
  const size_t bytes = static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
  for (size_t i = 0; i < bytes; ++i) {
    scene.picture->bitmap_row(0)[i] = static_cast<uint8_t>(i * 7 + 3);
    scene.mask->bitmap_row(0)[i] = static_cast<uint8_t>(i * 13);
  }
  // The host's buffers all end at page boundaries, and pictures of these sizes start at one.
  // Whole pages before the offset put the blocks' bytes at `offset` past a page boundary:
  // the default keeps them from sharing their low address bits with the pictures', as
  // buffers of a program rarely do, and other offsets try other alignments.
  const size_t before = (static_cast<size_t>(offset) / 4096 + 1) * 4096;
  scene.block = host.NewMemoryBlock(2 * bytes + before, 0);
  scene.source = host.NewMemoryBlock(bytes + before, 0);
  for (size_t i = 0; i < bytes; ++i) scene.source->data()[offset + i] = static_cast<uint8_t>(i * 5 + 1);
  std::vector<int32_t> table(256);
  for (int v = 0; v < 256; ++v) table[static_cast<size_t>(v)] = 255 - v;
  scene.table = host.NewIntArray(table);
  return scene;
}

std::vector<Subject> MakeSubjects(refhost::Host& host, Scene& scene) {
  const int32_t w = scene.width, h = scene.height;
  const size_t pixels = static_cast<size_t>(w) * static_cast<size_t>(h);
  const uint8_t* pictureBytes = scene.picture->bitmap_row(0);
  const uint8_t* maskBytes = scene.mask->bitmap_row(0);
  const int32_t offset = scene.offset;
  const uint8_t* sourceBytes = scene.source->data() + offset;
  uint8_t* block = scene.block->data() + offset;  // where the copies write
  uint8_t* pixels4 = scene.dest->bitmap_row(0);   // where the conversions write
  const size_t four = pixels * 4;
  auto shuffle = [=] { libyuv::ARGBShuffle(pictureBytes, w * 4, block, w * 4, kReverse, w, h); };
  auto shuffleSource = [=] { libyuv::ARGBShuffle(sourceBytes, w * 4, pixels4, w * 4, kReverse, w, h); };
  // Every method reads or writes four bytes a pixel at most but for the mask copies.
  auto copyPicture = [=] { memcpy(block, pictureBytes, four); };
  auto copyPictureAndMask = [=] { memcpy(block, pictureBytes, four), memcpy(block + four, maskBytes, four); };
  auto copySource = [=] { memcpy(pixels4, sourceBytes, four); };
  std::vector<Subject> subjects;

  // The copies into a memory block, ARGB-ordered source, whole picture, block pitch.
  const char* copies[] = {"RGB",       "BGR",       "ARGB", "ABGR", "RGBA", "BGRA", "ARGB mask",          "ABGR mask",
                          "RGBA mask", "BGRA mask", "XRGB", "XBGR", "RGBX", "BGRX", "ARGB little-endian", "R",
                          "G",         "B"};
  for (size_t i = 0; i < host.picture_methods().size(); ++i) {
    Subject s;
    s.declaration = host.picture_methods()[i].declaration;
    s.layout = copies[i];
    s.pictureMethod = true;
    s.words = {Word(scene.picture), Word(scene.block), Word(offset)};
    if (i >= 2 && i <= 5) s.words.push_back(Word(255));
    if (i >= 6 && i <= 9) s.words.push_back(Word(scene.mask));
    if (i == 14) s.words.insert(s.words.end(), {1, Word(255)});
    if (i >= 15) s.words.push_back(Word(1));
    s.words.insert(s.words.end(), {Word(0), Word(-1), Word(0), Word(0)});
    const size_t bpp = i <= 1 ? 3 : i >= 15 ? 1 : 4;
    const bool masked = i >= 6 && i <= 9;
    s.copy = masked ? std::function<void()>(copyPictureAndMask) : std::function<void()>(copyPicture);
    if (bpp == 3) {
      s.nearestName = "ARGBToRGB24";
      s.nearest = [=] { libyuv::ARGBToRGB24(pictureBytes, w * 4, block, w * 3, w, h); };
    } else if (bpp == 1) {
      s.nearestName = "ARGBExtractAlpha";
      s.nearest = [=] { libyuv::ARGBExtractAlpha(pictureBytes, w * 4, block, w, w, h); };
    } else if (masked) {
      s.nearestName = "ARGBCopyAlpha";
      s.nearest = [=] { libyuv::ARGBCopyAlpha(maskBytes, w * 4, block, w * 4, w, h); };
    } else {
      s.nearestName = "ARGBShuffle", s.nearest = shuffle;
    }
    subjects.push_back(s);
  }

  // The conversions into pictures: Ptr methods, then the memory-block twins.
  const char* layouts[] = {"ARGB", "ABGR", "BGRA", "RGBA", "BGR", "RGB"};
  for (size_t i = 0; i < host.global_methods().size(); ++i) {
    const size_t kind = i % 16;
    Subject s;
    s.declaration = host.global_methods()[i].declaration;
    s.layout = std::string(i < 16 ? "Ptr " : "Memoryblock ") + (kind < 6     ? std::string(layouts[kind]) + " dest"
                                                                : kind < 12  ? std::string(layouts[kind - 6])
                                                                : kind == 12 ? "ARGB little-endian"
                                                                : kind == 13 ? "gray"
                                                                : kind == 14 ? "gray tint"
                                                                             : "gray tables");
    const uintptr_t source = i < 16 ? reinterpret_cast<uintptr_t>(scene.source->data()) : Word(scene.source);
    if (kind < 6) s.words.push_back(Word(scene.dest));
    s.words.insert(s.words.end(), {source, Word(offset), Word(w), Word(h)});
    if (kind == 3 || kind == 9) s.words.push_back(0);
    if (kind == 12) s.words.push_back(1);
    if (kind >= 13) s.words.push_back(Word(1));
    if (kind == 14) s.words.insert(s.words.end(), {Word(256), Word(200), Word(100)});
    if (kind == 15) s.words.insert(s.words.end(), {Word(scene.table), Word(scene.table), Word(scene.table)});
    const size_t layout = kind < 6 ? kind : kind < 12 ? kind - 6 : 0;
    const size_t bpp = kind >= 13 ? 1 : layout >= 4 ? 3 : 4;
    s.copy = copySource;
    if (kind >= 13) {
      s.nearestName = "J400ToARGB";
      s.nearest = [=] { libyuv::J400ToARGB(sourceBytes, w, pixels4, w * 4, w, h); };
    } else if (bpp == 3) {
      s.nearestName = layout == 4 ? "RGB24ToARGB" : "RAWToARGB";
      s.nearest = layout == 4
                      ? std::function<void()>([=] { libyuv::RGB24ToARGB(sourceBytes, w * 3, pixels4, w * 4, w, h); })
                      : std::function<void()>([=] { libyuv::RAWToARGB(sourceBytes, w * 3, pixels4, w * 4, w, h); });
    } else {
      s.nearestName = "ARGBShuffle", s.nearest = shuffleSource;
    }
    subjects.push_back(s);
  }
  return subjects;
}

}  // namespace bench
