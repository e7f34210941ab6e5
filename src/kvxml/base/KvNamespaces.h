#pragma once

namespace KvXmlLib16 {

// The three namespace names of the W3C recommendations that the library treats by name.
inline constexpr char16_t kXmlNamespaceURI[] = u"http://www.w3.org/XML/1998/namespace";
inline constexpr char16_t kXsiNamespaceURI[] = u"http://www.w3.org/2001/XMLSchema-instance";
inline constexpr char16_t kXmlnsNamespaceURI[] = u"http://www.w3.org/2000/xmlns/";

} // namespace KvXmlLib16
