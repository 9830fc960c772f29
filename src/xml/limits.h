#pragma once

#include <cstddef>

/// What a document from outside may cost. Real identities stay far below every bound: the largest take a few KiB and
/// have neither declarations nor references of their own. Beyond a bound, a document is as good as malformed.
namespace Tolvek::Orvan::DeviceId::Limits
{

constexpr std::size_t kibi = 1024;

/// Bytes of a document, to be read or to be written. Also bounds what the parser does in quadratic time.
constexpr std::size_t documentSize = 64 * kibi;

/// Bytes of a document that has a DTD: the parser compares each name of an enumerated type with all before it, without
/// a callback in between.
constexpr std::size_t documentSizeWithDtd = 40 * kibi;

constexpr std::size_t entityDeclarations = 64;

/// Bytes that the declarations of entities hold between them.
constexpr std::size_t entityText = 16 * kibi;

/// Bytes of declarations that references to parameter entities repeat.
constexpr std::size_t repeatedDeclarations = 16 * kibi;

/// References to declared entities, those within entities included each time the parser follows them.
constexpr std::size_t references = 4096;

/// Bytes of text that a value may have, and bytes of entities that all references lead to: the parser goes through an
/// entity again for some references, and for none it costs more than its text.
constexpr std::size_t expandedText = kibi * kibi;

/// Attributes and namespace declarations of all elements. Those that are written out cannot be more, each takes five
/// bytes; but a declaration of defaults multiplies them by the number of elements.
constexpr std::size_t attributes = documentSize / 4;

/// Bytes of the values of all attributes and of the prefixes of namespaces, for the same reason. Four times the
/// document because a byte of another encoding may become several.
constexpr std::size_t attributeText = 4 * documentSize;

/// Namespace declarations of all elements: the parser compares the prefix of each name with all that are in force.
constexpr std::size_t namespaces = 128;

/// Namespaces that a DTD declares by default: the parser looks for each of them at every element that they are for, and
/// tells nobody about those that are in force already.
constexpr std::size_t defaultNamespaces = 4;

/// There are five predefined entities, and each may be declared once more. libxml2 complains about further
/// declarations on a way that no context bounds.
constexpr std::size_t predefinedDeclarations = 5;

/// Complaints about one document on standard error, and the length of each.
constexpr std::size_t messages = 4;
constexpr std::size_t messageLength = 160;

} // namespace Tolvek::Orvan::DeviceId::Limits
