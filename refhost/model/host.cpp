// Loading the plug-in, capturing its registrations, calling its methods and auditing
// references and locks around every call.
#include "refhost/model/host.h"

#include <cstdlib>
#include <deque>
#include <sstream>
#include <string_view>

#include "plugin/registration.h"
#include "refhost/model/host_function_table.h"
#include "refhost/system/system.h"

#ifndef PIXELBRIDGE_DEFAULT_PLUGIN
#define PIXELBRIDGE_DEFAULT_PLUGIN "libpixelbridge.so"
#endif

namespace refhost {
namespace {

Host* gCurrentHost = nullptr;

void* ResolveForPlugin(const char* name) { return gCurrentHost != nullptr ? gCurrentHost->Resolve(name) : nullptr; }

const char* const kExceptionClasses[] = {"RuntimeException", "NilObjectException", "UnsupportedOperationException",
                                         "OutOfBoundsException"};
const char* const kObjectClasses[] = {"Picture", "Graphics", "MemoryBlock"};

std::string Describe(const Object& object) {
  std::ostringstream text;
  text << "#" << object.id() << " (" << object.class_name() << ")";
  return text.str();
}

}  // namespace

struct Host::Audit {
  struct Held {
    const void* handle;
    int id, refs, locks;
  };
  std::vector<Held> held;
  int last_id = 0;
};

Host::Host(HostConfig config) : config_(std::move(config)) {
  if (gCurrentHost != nullptr) {
    fprintf(stderr, "refhost: one host at a time\n");
    abort();
  }
  gCurrentHost = this;
}

Host::~Host() {
  objects_.clear();
  gCurrentHost = nullptr;
}

Host* Host::Current() { return gCurrentHost; }

bool Host::Open(std::string* error) {
  if (config_.plugin_path.empty()) config_.plugin_path = os::ProgramFolder() + PIXELBRIDGE_DEFAULT_PLUGIN;
  const std::string& path = config_.plugin_path;
  std::string reason;
  library_ = os::LoadPlugin(path, &reason);
  if (library_ == nullptr) {
    if (error) *error = "cannot load plug-in [" + path + "]: " + reason;
    return false;
  }
  entry_ = reinterpret_cast<void (*)(void* (*)(const char*))>(os::PluginSymbol(library_, "REALPluginMain"));
  if (entry_ == nullptr) {
    if (error) *error = "no entry point [REALPluginMain] in plug-in [" + path + "]";
    return false;
  }
  return true;
}

bool Host::Start(std::string* error) {
  if (entry_ == nullptr) {
    if (error) *error = "plug-in not opened";
    return false;
  }
  entry_(&ResolveForPlugin);
  return true;
}

void* Host::Symbol(const char* name) const { return library_ != nullptr ? os::PluginSymbol(library_, name) : nullptr; }

void* Host::Resolve(const char* name) {
  void* address = nullptr;
  if (name != nullptr && (config_.missing.empty() || config_.missing.count(name) == 0))
    address = HostFunctionAddress(name, !config_.failing.empty() && config_.failing.count(name) != 0);
  if (!config_.quiet) log_.push_back({true, name != nullptr ? name : "(null)", address != nullptr, 0});
  return address;
}

void Host::NoteCall(const char* name, void* handle) {
  if (config_.quiet) return;
  int id = 0;
  if (handle != nullptr) {
    auto found = objects_.find(handle);
    if (found != objects_.end()) id = found->second->id();
  }
  log_.push_back({false, name, true, id});
}

Object* Host::Find(void* handle) const {
  if (handle == nullptr) return nullptr;
  auto found = objects_.find(handle);
  if (found == objects_.end()) {
    const_cast<Host*>(this)->Problem("the plug-in passed a handle the host never gave out or has freed");
    return nullptr;
  }
  return found->second.get();
}

bool Host::KnowsClass(const std::string& name) const {
  return HasClass(config_.kind, name) || config_.extra_classes.count(name) != 0;
}

bool Host::HasClass(HostKind kind, const std::string& name) {
  if (name == kApplicationClasses[static_cast<int>(kind)]) return true;
  for (const char* known : kExceptionClasses)
    if (name == known) return true;
  for (const char* known : kObjectClasses)
    if (name == known) return true;
  return false;
}

Object* Host::Adopt(std::unique_ptr<Object> object) {
  Object* raw = object.get();
  raw->id_ = next_id_++;
  objects_[raw->handle()] = std::move(object);
  return raw;
}

void Host::Retain(Object* object) {
  if (object != nullptr) ++object->refs_;
}

void Host::Release(Object* object) {
  if (object == nullptr) return;
  if (object->refs_ <= 0) {
    Problem("reference given back on " + Describe(*object) + " that has none");
    return;
  }
  if (--object->refs_ > 0) return;
  object->ReleaseHeld(*this);
  objects_.erase(object->handle());
}

MemoryBlock* Host::NewMemoryBlock(size_t size, uint8_t fill) { return Make<MemoryBlock>(size, fill); }

IntArray* Host::NewIntArray(std::vector<int32_t> values) { return Make<IntArray>(std::move(values)); }

PictureSetup Host::HostPictureSpec(int32_t width, int32_t height) const {
  PictureSetup setup;
  setup.width = width;
  setup.height = height;
  setup.refuse_locks = config_.new_pictures_refuse_locks;
  if (config_.kind == HostKind::Desktop) {
    setup.alpha_info = config_.new_picture_alpha_info;
  } else {
    setup.kind = PictureKind::TrueColor;
    setup.fill = Rgba{0, 0, 0, 255};
  }
  return setup;
}

Picture* Host::MakeHostPicture(int32_t width, int32_t height) {
  constexpr int32_t kLargest = 32767;
  if (width < 1 || height < 1 || width > kLargest || height > kLargest) return nullptr;
  return NewPicture(HostPictureSpec(width, height));
}

// A method record's function, as this process calls it, its declaration and its flags.
// `receiver`: a method of class "Picture", which takes its picture first.
RegisteredMethod Host::ReadMethod(const REALmethodDefinition& record, bool receiver) {
  static std::deque<std::pair<std::string, std::optional<Declaration>>> kept;
  static std::unordered_map<std::string_view, const std::pair<std::string, std::optional<Declaration>>*> known;
  static const Declaration kUnparsed;
  const char* text = record.declaration;
  auto found = known.find(text);
  std::string error;
  if (found == known.end()) {
    kept.emplace_back(text, ParseDeclaration(text, &error));
    found = known.emplace(kept.back().first, &kept.back()).first;
  }
  const auto& [declaration, parsed] = *found->second;
  if (!parsed) Problem("the declaration \"" + declaration + "\" doesn't parse" + (error.empty() ? "" : ": " + error));
  std::vector<ParamType> types;
  if (receiver) types.push_back(ParamType::Picture);
  if (parsed)
    for (const Parameter& param : parsed->params) types.push_back(param.type);
  void* function = os::PluginFunction(library_, record.function, ArgumentBytes(types));
  return {function, declaration, record.flags, parsed ? *parsed : kUnparsed};
}

void Host::CaptureMethod(const REALmethodDefinition* record) { global_methods_.push_back(ReadMethod(*record, false)); }

void Host::CaptureClass(const REALclassDefinition* record) {
  ++class_registrations_;
  class_record_ = record;
  const auto* words = reinterpret_cast<const RecordWord*>(record);
  class_words_.assign(words, words + kWordsPerClass);
  const size_t stride = WordsPerMethod(record->version);
  const auto* methods = reinterpret_cast<const RecordWord*>(record->methods);
  picture_methods_.clear();
  for (intptr_t i = 0; methods != nullptr && i < record->methodCount; ++i)
    picture_methods_.push_back(
        ReadMethod(*reinterpret_cast<const REALmethodDefinition*>(methods + static_cast<size_t>(i) * stride), true));
}

void Host::Raise(Object* exception) {
  if (exception == nullptr) {
    Problem("RuntimeRaiseException with a nil object");
    return;
  }
  Retain(exception);
  raised_.push_back(exception);
}

int Host::LookupCount(const std::string& name) const {
  int count = 0;
  for (const LogEntry& entry : log_) count += entry.lookup && entry.name == name;
  return count;
}

int Host::CallCount(const std::string& name) const {
  int count = 0;
  for (const LogEntry& entry : log_) count += !entry.lookup && entry.name == name;
  return count;
}

std::vector<std::string> Host::CallNames() const {
  std::vector<std::string> names;
  for (const LogEntry& entry : log_)
    if (!entry.lookup) names.push_back(entry.name);
  return names;
}

Host::Audit Host::Snapshot() const {
  Audit audit;
  audit.held.reserve(objects_.size());
  for (const auto& entry : objects_)
    audit.held.push_back({entry.first, entry.second->id(), entry.second->refs(), entry.second->locks()});
  audit.last_id = next_id_ - 1;
  return audit;
}

void Host::Finish(const Audit& before, CallResult& result) {
  // The host raises what the method handed it, then lets the exception go.
  for (Object* raised : raised_) {
    RaisedException exception;
    exception.class_name = raised->class_name();
    if (auto* instance = dynamic_cast<Instance*>(raised)) {
      auto message = instance->strings.find("Message");
      if (message != instance->strings.end() && message->second != nullptr) {
        exception.message = message->second->bytes();
        exception.message_encoding = message->second->encoding;
      }
      int32_t number = 0;
      if (instance->GetInt("ErrorNumber", &number)) exception.error_number = number;
    }
    result.exceptions.push_back(exception);
    Release(raised);
  }
  raised_.clear();

  for (const Audit::Held& held : before.held) {
    const auto found = objects_.find(held.handle);
    if (found == objects_.end() || found->second->id() != held.id) {
      Problem("object #" + std::to_string(held.id) + " was freed by the call");
      continue;
    }
    const Object& object = *found->second;
    const int expected = held.refs + (&object == result.picture ? 1 : 0);
    if (object.refs() != expected)
      Problem(Describe(object) + " holds " + std::to_string(object.refs()) + " references, expected " +
              std::to_string(expected));
    if (object.locks() != held.locks)
      Problem(Describe(object) + " holds " + std::to_string(object.locks()) + " pixel locks, expected " +
              std::to_string(held.locks));
  }
  for (const auto& entry : objects_) {
    const Object& object = *entry.second;
    if (object.id() <= before.last_id) continue;
    if (&object == result.picture) {
      if (object.refs() != 1 || object.locks() != 0)
        Problem("returned " + Describe(object) + " holds " + std::to_string(object.refs()) + " references and " +
                std::to_string(object.locks()) + " locks, expected 1 and 0");
    } else {
      Problem(Describe(object) + " made during the call is still alive with " + std::to_string(object.refs()) +
              " references");
    }
  }
  for (const auto& entry : objects_)
    if (auto* block = dynamic_cast<MemoryBlock*>(entry.second.get()); block && !block->SlackIntact())
      Problem("bytes before " + Describe(*block) + " were written");
  result.problems.insert(result.problems.end(), problems_.begin(), problems_.end());
  problems_.clear();
}

CallResult Host::Run(const std::function<void*()>& body) {
  CallResult result;
  const Audit before = Snapshot();
  void* returned = body();
  result.called = true;
  if (returned != nullptr) {
    result.picture = Find(returned);
    if (result.picture == nullptr) Problem("the method returned an object the host doesn't know");
  }
  Finish(before, result);
  return result;
}

namespace {

// The word a parameter is passed as, or an error for an argument of the wrong kind.
bool ToWord(const Parameter& param, const Arg& arg, uintptr_t* word, std::string* error) {
  auto objectOf = [&](const char* className) {
    if (arg.kind != Arg::Kind::Object) return false;
    if (arg.object != nullptr && arg.object->class_name() != className &&
        !(param.type == ParamType::IntegerArray && dynamic_cast<IntArray*>(arg.object)))
      return false;
    *word = arg.object != nullptr ? reinterpret_cast<uintptr_t>(arg.object->handle()) : 0;
    return true;
  };
  bool ok = false;
  switch (param.type) {
    case ParamType::Picture:
      ok = objectOf("Picture");
      break;
    case ParamType::MemoryBlock:
      ok = objectOf("MemoryBlock");
      break;
    case ParamType::IntegerArray:
      ok = objectOf("Integer()");
      break;
    case ParamType::Ptr:
      ok = arg.kind == Arg::Kind::Pointer || (arg.kind == Arg::Kind::Object && arg.object == nullptr);
      *word = reinterpret_cast<uintptr_t>(arg.pointer);
      break;
    case ParamType::Integer:
      ok = arg.kind == Arg::Kind::Integer;
      *word = static_cast<uintptr_t>(static_cast<intptr_t>(arg.integer));
      break;
    case ParamType::Boolean:
      ok = arg.kind == Arg::Kind::Boolean;
      *word = static_cast<uintptr_t>(static_cast<intptr_t>(arg.integer));
      break;
  }
  if (!ok && error) *error = "argument for parameter \"" + param.name + "\" has the wrong kind";
  return ok;
}

}  // namespace

CallResult Host::Call(const std::string& declaration, std::vector<Arg> args) {
  CallResult failed;
  const RegisteredMethod* method = nullptr;
  bool receiver = false;
  for (const RegisteredMethod& candidate : picture_methods_)
    if (!method && candidate.declaration == declaration) method = &candidate, receiver = true;
  for (const RegisteredMethod& candidate : global_methods_)
    if (!method && candidate.declaration == declaration) method = &candidate;
  if (method == nullptr) {
    failed.error = "no method registered as \"" + declaration + "\"";
    return failed;
  }
  static const Parameter kReceiver{"(receiver)", ParamType::Picture, std::nullopt};
  std::vector<const Parameter*> params;
  params.reserve(method->parsed.params.size() + 1);
  if (receiver) params.push_back(&kReceiver);
  for (const Parameter& param : method->parsed.params) params.push_back(&param);
  if (args.size() > params.size()) {
    failed.error = "too many arguments for \"" + declaration + "\"";
    return failed;
  }
  for (size_t i = args.size(); i < params.size(); ++i) {
    auto fallback = DefaultArg(*params[i]);
    if (!fallback) {
      failed.error = "no argument for parameter \"" + params[i]->name + "\", which has no default";
      return failed;
    }
    args.push_back(*fallback);
  }
  std::vector<uintptr_t> words(params.size());
  std::vector<ParamType> types;
  types.reserve(params.size());
  for (size_t i = 0; i < params.size(); ++i) {
    if (!ToWord(*params[i], args[i], &words[i], &failed.error)) return failed;
    types.push_back(params[i]->type);
  }
  bool booleanResult = method->parsed.result == ParamType::Boolean;
  std::string error;
  uintptr_t returned = 0;
  CallResult result = Run([&]() -> void* {
    if (!InvokeBySignature(method->function, types, method->parsed.result, words, &returned, &error)) return nullptr;
    return booleanResult ? nullptr : reinterpret_cast<void*>(returned);
  });
  if (!error.empty()) {
    result.called = false;
    result.error = error;
  }
  result.boolean = booleanResult && (returned & 0xFF) != 0;
  return result;
}

}  // namespace refhost
