// The spelling of the case tables: hosts, calls, their arguments and what each must give.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

#include "host/host_function_list.h"
#include "tests/support/method_calls.h"

namespace pixeltest {

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);)
    if (!part.empty()) parts.push_back(part);
  return parts;
}

int32_t Integer(const std::string& text) { return static_cast<int32_t>(std::strtoll(text.c_str(), nullptr, 0)); }

std::vector<std::string> DataLines(const std::string& file, std::vector<int>* numbers) {
  std::ifstream in(std::string(PIXELBRIDGE_TEST_DATA) + "/" + file);
  if (!in.good()) throw std::runtime_error("cannot read test data " + file);
  std::vector<std::string> lines;
  bool continued = false;  // the line before ended with a backslash: this one goes on with it
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (continued) {
      lines.back() += line.substr(std::min(line.find_first_not_of(' '), line.size()));
    } else if (!line.empty() && line[0] != '#') {
      lines.push_back(line);
      if (numbers != nullptr) numbers->push_back(number);
    } else {
      continue;
    }
    continued = lines.back().back() == '\\';
    if (continued) lines.back().pop_back();
  }
  return lines;
}

const std::string& DeclarationOf(int number) {
  static const std::vector<std::string> declarations = DataLines("declarations.txt");
  const int globals = kMethodCount - kCopyCount;
  return declarations.at(static_cast<size_t>(number <= kCopyCount ? globals + number - 1 : number - kCopyCount - 1));
}

refhost::HostConfig ParseHost(const std::string& line, const std::string& plugin) {
  refhost::HostConfig config;
  config.plugin_path = plugin;
  const std::vector<std::string> words = Split(line, ' ');
  // Each name checked, so that a misspelt one can't leave the host as it was.
  const auto names = [](const std::string& list, const std::string& (*check)(const std::string&)) {
    std::set<std::string> named;
    for (const std::string& name : Split(list, ',')) named.insert(check(name));
    return named;
  };
  config.kind = words.at(1) == "console" ? refhost::HostKind::Console
                : words[1] == "web"      ? refhost::HostKind::Web
                                         : refhost::HostKind::Desktop;
  for (size_t i = 2; i < words.size(); ++i) {
    const size_t equals = words[i].find('=');
    const std::string key = words[i].substr(0, equals),
                      value = equals == std::string::npos ? "" : words[i].substr(equals + 1);
    if (key == "version") config.version = std::stod(value);
    else if (key == "lacking") config.missing = names(value, HostFunctionNamed);
    else if (key == "failing") config.failing = names(value, HostFunctionNamed);
    else if (key == "classes") config.extra_classes = names(value, HostClassNamed);
    else if (key == "unmade") config.uninstantiable = names(value, HostClassNamed);
    else if (key == "new-alpha") config.new_picture_alpha_info = static_cast<uint32_t>(Integer(value));
    else if (key == "no-draw") config.no_draw_method = true;
    else if (key == "lend") config.lend_true_color = true;
    else if (key == "refuse-new") config.new_pictures_refuse_locks = true;
    else if (key == "unknown-size") config.unknown_block_sizes = true;
    else throw std::invalid_argument("host option " + words[i]);
  }
  return config;
}

MethodCall ParseCall(const std::string& line) {
  MethodCall call;
  const size_t arrow = line.find(" -> ");
  std::istringstream words(line.substr(0, arrow));
  words >> call.number;
  for (std::string word; words >> word;) call.args[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
  if (arrow != std::string::npos) call.expected = line.substr(arrow + 4);
  return call;
}

refhost::PictureSetup SetupOf(const std::string& spelling, refhost::HostKind host) {
  refhost::PictureSetup setup;
  if (host != refhost::HostKind::Desktop) setup.kind = refhost::PictureKind::TrueColor;
  const std::vector<std::string> parts = Split(spelling, ':');
  if (parts.empty() || sscanf(parts[0].c_str(), "%dx%d", &setup.width, &setup.height) != 2)
    throw std::invalid_argument("picture " + spelling);
  for (size_t i = 1; i < parts.size(); ++i) {
    const std::string& option = parts[i];
    const auto number = [&](const char* prefix) { return Integer(option.substr(strlen(prefix))); };
    if (option == "vector") setup.kind = refhost::PictureKind::Vector;
    else if (option == "truecolour") setup.kind = refhost::PictureKind::TrueColor;
    else if (option == "bitmap") setup.kind = refhost::PictureKind::Bitmap;
    else if (option == "alpha") setup.has_alpha = true;
    else if (option == "refuse") setup.refuse_locks = true;
    else if (option == "palette") setup.palette = true;
    else if (option == "noflag") setup.true_color_flag = false;
    else if (option.rfind("format", 0) == 0) setup.alpha_info = static_cast<uint32_t>(number("format"));
    else if (option.rfind("pad", 0) == 0) setup.row_padding = number("pad");
    else if (option.rfind("bpc", 0) == 0) setup.bits_per_component = static_cast<size_t>(number("bpc"));
    else throw std::invalid_argument("picture option " + option);
  }
  return setup;
}

const std::string& HostFunctionNamed(const std::string& name) {
  static const std::set<std::string> names = [] {
    std::set<std::string> listed = {"DrawPicture"};  // the method the host hands out for drawing
#define PIXELTEST_LISTED(wrapper, lookup, result, parameters) listed.insert(lookup);
    PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELTEST_LISTED)
    PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELTEST_LISTED)
#undef PIXELTEST_LISTED
    return listed;
  }();
  if (names.count(name) == 0) throw std::invalid_argument("no host function is called " + name);
  return name;
}

const std::string& HostClassNamed(const std::string& name) {
  using refhost::HostKind;
  for (HostKind kind : {HostKind::Desktop, HostKind::Console, HostKind::Web})
    if (refhost::Host::HasClass(kind, name)) return name;
  throw std::invalid_argument("no host has a class called " + name);
}

namespace {

Expected ParseExpected(const std::string& text) {
  Expected expected;
  const size_t bar = text.find(" | ");
  const std::string result = text.substr(0, bar);
  for (const std::string& item : Split(bar == std::string::npos ? "" : text.substr(bar + 3), ' ')) {
    const std::string name = item.substr(0, item.find('=')), value = item.substr(item.find('=') + 1);
    if (name == "order")
      for (const std::string& called : Split(value, ','))
        expected.order += (expected.order.empty() ? "" : ",") + HostFunctionNamed(called);
    else expected.calls.push_back({HostFunctionNamed(name), Integer(value)});
  }
  if (result.find(": ") != std::string::npos) {
    expected.kind = Expected::kRaised;
    expected.exception = result;
  } else if (result == "picture" || result == "dest") {
    expected.kind = result == "dest" ? Expected::kDest : Expected::kPicture;
  } else if (result == "false" || result == "nil") {
    expected.kind = Expected::kFailed;
  } else if (result.rfind("true", 0) == 0) {
    expected.kind = Expected::kWritten;
    expected.allLines = result == "true";
    if (!expected.allLines && result != "true none" &&
        sscanf(result.c_str(), "true %d..%d", &expected.first, &expected.last) != 2)
      throw std::invalid_argument("lines of " + result);
  } else if (!result.empty()) {
    throw std::invalid_argument("result " + result);
  }
  return expected;
}

// The declaration of method `number`, a copy's receiver first among its parameters.
const refhost::Declaration& Declared(int number) {
  static std::map<int, refhost::Declaration> parsed;
  refhost::Declaration& declaration = parsed[number];
  if (declaration.name.empty()) {
    std::string error;
    declaration = *refhost::ParseDeclaration(DeclarationOf(number), &error);
    if (number <= kCopyCount)
      declaration.params.insert(declaration.params.begin(), {"picture", refhost::ParamType::Picture, {}});
  }
  return declaration;
}

}  // namespace

BoundCall Bind(const MethodCall& call) {
  const refhost::Declaration& declared = Declared(call.number);
  const size_t count = declared.params.size();
  BoundCall bound{call,
                  declared.name,
                  declared.params,
                  call.number <= kCopyCount,
                  ParseExpected(call.expected),
                  std::vector<const std::string*>(count),
                  std::vector<int32_t>(count)};
  for (const auto& [name, text] : call.args) {
    if (bound.Takes(name)) bound.texts[size_t(bound.Index(name))] = &text;
    else if (!call.spare) throw std::invalid_argument(bound.name + " takes no " + name);
  }
  for (size_t i = 0; i < bound.params.size(); ++i)
    bound.ints[i] = bound.texts[i]                  ? Integer(*bound.texts[i])
                    : bound.params[i].default_value ? refhost::DefaultArg(bound.params[i])->integer
                                                    : 0;
  return bound;
}

int BoundCall::Index(std::string_view param) const {
  for (size_t i = 0; i < params.size(); ++i)
    if (std::string_view(params[i].name) == param) return int(i);
  return -1;
}

const std::string& BoundCall::Text(std::string_view param) const {
  static const std::string kNone;
  return Takes(param) && texts[size_t(Index(param))] ? *texts[size_t(Index(param))] : kNone;
}

int32_t BoundCall::Int(std::string_view param) const { return Takes(param) ? ints[size_t(Index(param))] : 0; }

}  // namespace pixeltest
