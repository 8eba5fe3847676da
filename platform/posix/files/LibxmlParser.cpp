#include "platform/posix/files/LibxmlParser.h"

#include <array>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <memory>
#include <string>
#include <utility>

#include "platform/posix/files/FileServices.h"

namespace tessel::platform {
namespace {

// Far above any document of a hub, and within the int that libxml2 counts in.
constexpr std::size_t kMaxDocumentSize = std::size_t{64} << 20;

struct FreeContext {
  void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
};
using ParserContext = std::unique_ptr<xmlParserCtxt, FreeContext>;

const char* text(const xmlChar* characters) { return reinterpret_cast<const char*>(characters); }

// An entity that stands for one character, and whose text libxml2 does not replace.
xmlEntity makePlaceholder() {
  static constexpr std::array<xmlChar, 2> kText{'?', 0};
  xmlEntity entity{};
  entity.type = XML_ENTITY_DECL;
  entity.etype = XML_INTERNAL_PREDEFINED_ENTITY;
  entity.name = kText.data();
  entity.content = entity.orig = const_cast<xmlChar*>(kText.data());  // only read
  entity.length = 1;
  return entity;
}

// One parse under way: the first argument of the handlers below.
struct Parse {
  XMLParserDelegate& delegate;
  xmlParserCtxt* context = nullptr;
  std::string run;  // the text node so far
  bool refused = false;
  bool endsDeclaration = false;  // of an entity
  xmlEntity placeholder = makePlaceholder();

  static Parse& from(void* self) { return *static_cast<Parse*>(self); }

  void endRun() {
    if (run.empty()) return;
    delegate.foundCharacters(run);
    run.clear();
  }

  void refuse() {
    refused = true;
    xmlStopParser(context);
  }
};

void onStartElement(void* self, const xmlChar* name, const xmlChar**) {
  Parse& parse = Parse::from(self);
  parse.endRun();
  parse.delegate.didStartElement(text(name));
}

void onEndElement(void* self, const xmlChar*) { Parse::from(self).endRun(); }

void onCharacters(void* self, const xmlChar* characters, int length) {
  Parse::from(self).run.append(text(characters), static_cast<std::size_t>(length));
}

void onCdata(void* self, const xmlChar* characters, int length) {
  Parse::from(self).endRun();
  onCharacters(self, characters, length);
  Parse::from(self).endRun();
}

void onComment(void* self, const xmlChar*) { Parse::from(self).endRun(); }

void onProcessingInstruction(void* self, const xmlChar*, const xmlChar*) {
  Parse::from(self).endRun();
}

// libxml2 asks for an internal entity once more at the end of its declaration, to store the text in
// it.
void onEntityDeclaration(void* self, const xmlChar*, int, const xmlChar*, const xmlChar*,
                         xmlChar* content) {
  Parse::from(self).endsDeclaration = content != nullptr;
}

// Asked for every entity but the five predefined ones. A declaration is not evaluated: a reference
// in it may stand for anything.
xmlEntity* onEntity(void* self, const xmlChar*) {
  Parse& parse = Parse::from(self);
  if (parse.context->inSubset != 0)
    return std::exchange(parse.endsDeclaration, false) ? nullptr : &parse.placeholder;
  parse.refuse();
  return nullptr;
}

xmlEntity* onParameterEntity(void* self, const xmlChar*) {
  Parse& parse = Parse::from(self);
  if (!std::exchange(parse.endsDeclaration, false)) parse.refuse();
  return nullptr;
}

// Handlers that are not set here load, expand and print nothing. The interface is that of SAX 1:
// with SAX 2 libxml2 adds the default attributes of a document type to every element, a cost that
// multiplies as that of entities does.
xmlSAXHandler makeHandler() {
  constexpr unsigned kSax1 = 1;
  xmlSAXHandler handler{};
  handler.initialized = kSax1;
  handler.startElement = onStartElement;
  handler.endElement = onEndElement;
  handler.characters = onCharacters;
  handler.ignorableWhitespace = onCharacters;
  handler.cdataBlock = onCdata;
  handler.comment = onComment;
  handler.processingInstruction = onProcessingInstruction;
  handler.entityDecl = onEntityDeclaration;
  handler.getEntity = onEntity;
  handler.getParameterEntity = onParameterEntity;
  return handler;
}

}  // namespace

LibxmlParser::LibxmlParser() { xmlInitParser(); }

bool LibxmlParser::parse(std::span<const std::uint8_t> document, XMLParserDelegate& delegate) {
  if (document.empty() || document.size() > kMaxDocumentSize) return false;
  const ParserContext context{xmlCreateMemoryParserCtxt(
      reinterpret_cast<const char*>(document.data()), static_cast<int>(document.size()))};
  if (!context) return false;

  Parse parse{.delegate = delegate, .context = context.get(), .run = {}};
  xmlCtxtUseOptions(context.get(), XML_PARSE_NONET);
  *context->sax = makeHandler();
  context->userData = &parse;
  xmlParseDocument(context.get());

  // libxml2 takes a NUL byte for the end of the input; here it is a fault like any other.
  const bool readToTheEnd = context->input && context->input->cur >= context->input->end;
  if (context->myDoc) {
    xmlFreeDoc(context->myDoc);
    context->myDoc = nullptr;
  }
  return context->wellFormed && readToTheEnd && !parse.refused;
}

std::shared_ptr<XMLParser> makeXMLParser() { return std::make_shared<LibxmlParser>(); }

}  // namespace tessel::platform
