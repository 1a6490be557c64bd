#include "xlsx/xml_parser.h"

#include <expat.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "text/edit.h"
#include "xlsx/archive.h"

namespace ordvane::xlsx {
namespace {

constexpr std::size_t kGranted = std::size_t{8} << 20;  // bytes
constexpr std::size_t kPiece = std::size_t{1} << 18;    // of a text that is handed over at once
constexpr int kDeepest = 256;
constexpr const char* kOtherEncoding = "its encoding is not UTF-8";

}  // namespace

// What a parser may take, and the functions that it takes it by. They are told nothing but sizes, so that
// each piece of memory remembers whose it is.
struct XmlParser::Budget {
  struct alignas(std::max_align_t) Head {
    Budget* budget;
    std::size_t size;
  };

  std::size_t left = kGranted;
  bool is_exceeded = false, is_refused = false;  // by this budget; by the system

  static thread_local Budget* current;

  void* take(std::size_t size) {
    if (size > left) is_exceeded = true;
    if (is_exceeded) return nullptr;
    void* const memory = ::operator new(sizeof(Head) + size, std::nothrow);
    is_refused = is_refused || memory == nullptr;
    if (memory == nullptr) return nullptr;
    left -= size;
    return new (memory) Head{this, size} + 1;
  }
  static void* allocate(std::size_t size) { return current->take(size); }
  static void* resize(void* memory, std::size_t size) {
    if (memory == nullptr) return allocate(size);
    const Head& old = static_cast<Head*>(memory)[-1];
    void* const moved = old.budget->take(size);
    if (moved == nullptr) return nullptr;
    std::memcpy(moved, memory, std::min(size, old.size));
    release(memory);
    return moved;
  }
  static void release(void* memory) {
    if (memory == nullptr) return;
    Head* const head = static_cast<Head*>(memory) - 1;
    head->budget->left += head->size;
    ::operator delete(head);
  }

  // While one is there, memory is taken from this budget. A handler may read another text.
  class Use {
   public:
    explicit Use(Budget& budget) : before_(std::exchange(current, &budget)) {}
    ~Use() { current = before_; }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    Budget* before_;
  };
};

thread_local XmlParser::Budget* XmlParser::Budget::current = nullptr;

// Exceptions do not pass through the parser, which is C.
struct XmlParser::Handlers {
  template <class Step>
  static void guarded(void* reader, const Step& step) {
    XmlParser& self = *static_cast<XmlParser*>(reader);
    if (self.failure_ || !self.why_.empty()) return;
    try {
      step(self);
    } catch (...) {
      self.failure_ = std::current_exception();
      XML_StopParser(self.parser_.get(), XML_FALSE);
    }
  }

  static void start(void* reader, const char* name, const char** attributes) {
    guarded(reader, [&](XmlParser& self) {
      if (++self.open_ > kDeepest) return self.stop("elements within more than 256 others");
      self.on_start(name, attributes);
    });
  }
  static void end(void* reader, const char* name) {
    guarded(reader, [&](XmlParser& self) {
      --self.open_;
      self.on_end(name);
    });
  }
  static void text(void* reader, const char* piece, int size) {
    guarded(reader, [&](XmlParser& self) { self.on_text({piece, static_cast<std::size_t>(size)}); });
  }
  static void declaration(void* reader, const char*, const char* encoding, int) {
    guarded(reader, [&](XmlParser& self) {
      if (self.taken_ == Encodings::kUtf8 && encoding != nullptr && text::lower_ascii(encoding) != "utf-8")
        self.stop(kOtherEncoding);
    });
  }
  static void type_definition(void* reader, const char*, const char*, const char*, int) {
    guarded(reader, [](XmlParser& self) { self.stop("a document type definition, which no workbook has"); });
  }
};

void XmlParser::Release::operator()(XML_ParserStruct* parser) const {
  XML_ParserFree(parser);
}

XmlParser::XmlParser(char separator, Encodings taken) : budget_(std::make_unique<Budget>()), taken_(taken) {
  const XML_Memory_Handling_Suite memory{&Budget::allocate, &Budget::resize, &Budget::release};
  const Budget::Use use(*budget_);
  parser_.reset(XML_ParserCreate_MM(nullptr, &memory, separator == '\0' ? nullptr : &separator));
  if (!parser_) throw std::bad_alloc();
  XML_SetUserData(parser_.get(), this);
  if (separator != '\0') XML_SetReturnNSTriplet(parser_.get(), 1);
  XML_SetElementHandler(parser_.get(), &Handlers::start, &Handlers::end);
  XML_SetCharacterDataHandler(parser_.get(), &Handlers::text);
  XML_SetXmlDeclHandler(parser_.get(), &Handlers::declaration);
  XML_SetStartDoctypeDeclHandler(parser_.get(), &Handlers::type_definition);
}

XmlParser::~XmlParser() = default;

void XmlParser::parse(std::string_view text) {
  for (bool last = false; !last;) {
    const std::string_view piece = text.substr(0, kPiece);
    text.remove_prefix(piece.size());
    last = text.empty();
    feed(piece, last);
  }
}

void XmlParser::feed(std::string_view piece, bool last) {
  if (!std::exchange(has_begun_, true) && taken_ == Encodings::kUtf8 &&
      (piece.find('\0') < 4 || piece.starts_with("\xFE\xFF") || piece.starts_with("\xFF\xFE")))
    throw BadPackage(kOtherEncoding);
  const Budget::Use use(*budget_);
  const XML_Status status =
      XML_Parse(parser_.get(), piece.data(), static_cast<int>(piece.size()), last ? XML_TRUE : XML_FALSE);
  if (failure_) std::rethrow_exception(failure_);
  if (status == XML_STATUS_OK) return;
  const XML_Error error = XML_GetErrorCode(parser_.get());
  // Where memory is missing expat takes a prefix for unbound now and then.
  if (why_.empty() && (error == XML_ERROR_NO_MEMORY || budget_->is_exceeded || budget_->is_refused)) {
    if (!budget_->is_exceeded) throw std::bad_alloc();
    why_ = "it takes more memory to be read than an element of a workbook does";
  }
  throw BadPackage("line " + std::to_string(XML_GetCurrentLineNumber(parser_.get())) + ": " +
                   (why_.empty() ? XML_ErrorString(error) : why_));
}

void XmlParser::stop(const char* why) {
  why_ = why;
  XML_StopParser(parser_.get(), XML_FALSE);
}

std::size_t XmlParser::place() const {
  return static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_.get()));
}

std::size_t XmlParser::length() const {
  return static_cast<std::size_t>(XML_GetCurrentByteCount(parser_.get()));
}

}  // namespace ordvane::xlsx
