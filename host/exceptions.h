// Raising exceptions of the host's own classes for bad arguments of a registered method.
#pragma once

// Exception classes and messages of the plug-in.
constexpr const char kNilObjectException[] = "NilObjectException";
constexpr const char kUnsupportedOperationException[] = "UnsupportedOperationException";
constexpr const char kOutOfBoundsException[] = "OutOfBoundsException";
constexpr const char kRuntimeException[] = "RuntimeException";

constexpr const char kPictureIsNil[] = "Picture is nil";
constexpr const char kMaskPictureIsNil[] = "Mask Picture is nil";
constexpr const char kMemoryblockIsNil[] = "Memoryblock is nil";
constexpr const char kWidthTooSmall[] = "width is too small. Must be >0.";
constexpr const char kHeightTooSmall[] = "height is too small. Must be >0.";
constexpr const char kOffsetTooSmall[] = "offset is too small. Must be >=0.";
constexpr const char kPixelByteSizeTooSmall[] = "PixelByteSize is too small. Must be >0.";
constexpr const char kMemoryblockTooSmall[] = "Memoryblock is too small.";

// Hands the host a new exception of `className` (or "RuntimeException" when that class
// can't be instantiated) whose "Message" is `message` (null when empty) and whose
// "ErrorNumber" is 0. Never fails towards its caller: whatever the host lacks is skipped.
// The host raises it once the running method has returned.
void RaiseException(const char* className, const char* message);
