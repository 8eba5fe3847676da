#include "platform/posix/files/LibxmlParser.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <memory>
#include <string>

#include "platform/posix/files/FileServices.h"

namespace tessel::platform {
namespace {

// Far above any document of a hub, and within what libxml2 counts in an int.
constexpr std::size_t kLargestDocument = std::size_t{64} << 20;

struct FreeContext {
  void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
};
using ParserContext = std::unique_ptr<xmlParserCtxt, FreeContext>;

const char* text(const xmlChar* characters) { return reinterpret_cast<const char*>(characters); }

// One parse under way: what the handlers below are given as their first argument.
struct Parse {
  XMLParserDelegate& delegate;
  xmlParserCtxt* context = nullptr;
  std::string run;  // the text node so far
  bool refused = false;

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

void onStartElement(void* self, const xmlChar* localName, const xmlChar* prefix, const xmlChar*,
                    int, const xmlChar**, int, int, const xmlChar**) {
  Parse& parse = Parse::from(self);
  parse.endRun();
  const std::string name = text(localName);
  parse.delegate.didStartElement(prefix ? std::string{text(prefix)} + ":" + name : name);
}

void onEndElement(void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
  Parse::from(self).endRun();
}

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

// Asked for every entity but the five predefined ones.
xmlEntity* onEntity(void* self, const xmlChar*) {
  Parse::from(self).refuse();
  return nullptr;
}

void onEntityDeclaration(void* self, const xmlChar*, int, const xmlChar*, const xmlChar*,
                         xmlChar*) {
  Parse::from(self).refuse();
}

void onUnparsedEntityDeclaration(void* self, const xmlChar*, const xmlChar*, const xmlChar*,
                                 const xmlChar*) {
  Parse::from(self).refuse();
}

// Default attributes multiply with the elements that they are added to, as entities do.
void onAttributeDeclaration(void* self, const xmlChar*, const xmlChar*, int, int, const xmlChar*,
                            xmlEnumeration* values) {
  xmlFreeEnumeration(values);
  Parse::from(self).refuse();
}

// Set so that libxml2 does not write its complaints to standard error.
void onFault(void*, xmlError*) {}

// Handlers that are not set here load and expand nothing.
xmlSAXHandler makeHandler() {
  xmlSAXHandler handler{};
  handler.initialized = XML_SAX2_MAGIC;
  handler.startElementNs = onStartElement;
  handler.endElementNs = onEndElement;
  handler.characters = onCharacters;
  handler.ignorableWhitespace = onCharacters;
  handler.cdataBlock = onCdata;
  handler.comment = onComment;
  handler.processingInstruction = onProcessingInstruction;
  handler.getEntity = onEntity;
  handler.getParameterEntity = onEntity;
  handler.entityDecl = onEntityDeclaration;
  handler.unparsedEntityDecl = onUnparsedEntityDeclaration;
  handler.attributeDecl = onAttributeDeclaration;
  handler.serror = onFault;
  return handler;
}

}  // namespace

LibxmlParser::LibxmlParser() { xmlInitParser(); }

bool LibxmlParser::parse(std::span<const std::uint8_t> document, XMLParserDelegate& delegate) {
  if (document.empty() || document.size() > kLargestDocument) return false;
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
