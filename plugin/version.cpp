// The plug-in's version, kept in the file itself where `strings` shows it and `pixelhost info`
// finds it: the plug-in exports nothing but its entry point, and a host program carries it
// under any name. "@(#)" marks it for the tools that look for such strings.
namespace {

[[gnu::used]] const char kVersion[] = "@(#)pixelbridge " PIXELBRIDGE_VERSION;

}  // namespace
