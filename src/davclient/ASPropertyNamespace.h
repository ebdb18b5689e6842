#pragma once

namespace tidemark {

/// The name space of the server product's own properties (SyncDate, suspend, encryptsha).
inline constexpr const char* propertyNamespaceURI = "http://www.marlock.example/ns/webdav";

} // namespace tidemark
