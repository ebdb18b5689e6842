#include <atomic>

#include "config/BXSyncConf.h"

namespace tidemark {

namespace {

using Dictionary = PropertyList::Dictionary;

std::atomic<const PasswordDelegate*> passwordDelegate = nullptr;

const PropertyList* find(const Dictionary& dictionary, const char* key)
{
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : &found->second;
}

/// Calls `set` with the text under the key, where there is one.
template <class Set>
void readText(const Dictionary& dictionary, const char* key, Set set)
{
    if (const auto* value = find(dictionary, key)) set(value->stringValue());
}

template <class Set>
void readBool(const Dictionary& dictionary, const char* key, Set set)
{
    if (const auto* value = find(dictionary, key)) set(value->boolValue());
}

void readInteger(const Dictionary& dictionary, const char* key, std::int64_t& field)
{
    if (const auto* value = find(dictionary, key)) field = value->integerValue();
}

template <class Set>
void readSecret(const Dictionary& dictionary, const char* key, Set set)
{
    const PasswordDelegate* delegate = passwordDelegate;
    const auto* value = find(dictionary, key);
    if (delegate && value) set(delegate->decrypt(value->stringValue()));
}

void writeSecret(Dictionary& dictionary, const char* key, const std::string& plain)
{
    const PasswordDelegate* delegate = passwordDelegate;
    if (delegate) dictionary[key] = plain.empty() ? std::string{} : delegate->encrypt(plain);
}

/// The connection's booleans are texts, unlike the other ones.
PropertyList yesNo(bool value)
{
    return value ? "YES" : "NO";
}

std::vector<BXSyncSchedule> schedulesOf(const PropertyList::Array& texts)
{
    std::vector<BXSyncSchedule> schedules;
    for (const auto& text : texts)
        schedules.emplace_back(text.stringValue());
    return schedules;
}

PropertyList::Array textsOf(const std::vector<BXSyncSchedule>& schedules)
{
    PropertyList::Array texts;
    for (const auto& schedule : schedules)
        texts.emplace_back(schedule.saveString());
    return texts;
}

} // namespace

void BXSyncConf::setPasswordDelegate(const PasswordDelegate* delegate)
{
    passwordDelegate = delegate;
}

void BXSyncConf::readDictionary(const Dictionary& dictionary)
{
    readText(dictionary, "identity", [&](std::string text) { identity_ = std::move(text); });
    readBool(dictionary, "enable", [&](bool value) { enable_ = value; });
    readText(dictionary, "serverURL", [&](const std::string& text) { setServerURL(text); });
    readText(dictionary, "localPath", [&](std::string text) { localPath_ = std::move(text); });
    readInteger(dictionary, "syncmode", mode_);
    readBool(dictionary, "autosync", [&](bool value) { autosync_ = value; });
    readText(dictionary, "serverDelete", [&](std::string text) { serverDelete_ = std::move(text); });
    readText(dictionary, "localDelete", [&](std::string text) { localDelete_ = std::move(text); });
    readText(dictionary, "conflict", [&](std::string text) { conflict_ = std::move(text); });
    readText(dictionary, "syncLogPath", [&](std::string text) { syncLogPath_ = std::move(text); });
    readInteger(dictionary, "logKeepDays", logKeepDays_);
    if (const auto* value = find(dictionary, "syncSchedule"))
        if (const auto* texts = value->get<PropertyList::Array>()) setSyncSchedules(schedulesOf(*texts));
    readSecret(dictionary, "encryptKey", [&](std::string text) { encryptKey_ = std::move(text); });
    readBool(dictionary, "ignoreServerCert", [&](bool value) { ignoreServerCert_ = value; });
    readText(dictionary, "certificateId", [&](std::string text) { certificateId_ = std::move(text); });
    if (find(dictionary, "includeall")) readConnection(dictionary);
}

void BXSyncConf::readConnection(const Dictionary& dictionary)
{
    info_ = std::make_shared<ASHttpConnectInfo>();
    auto& info = *info_;
    readText(dictionary, "name", [&](std::string text) { name_ = std::move(text); });
    readBool(dictionary, "isUseAuthorization", [&](bool value) { info.setIsUseAuthorization(value); });
    readText(dictionary, "username", [&](std::string text) { info.setUsername(std::move(text)); });
    readSecret(dictionary, "password", [&](std::string text) { info.setPassword(std::move(text)); });
    readBool(dictionary, "isUseProxy", [&](bool value) { info.setIsUseProxy(value); });
    readText(dictionary, "proxyHost", [&](std::string text) { info.setProxyHost(std::move(text)); });
    if (const auto* port = find(dictionary, "proxyPort")) info.setProxyPort(static_cast<int>(port->integerValue()));
    readBool(dictionary, "isUseProxyAuthorization", [&](bool value) { info.setIsUseProxyAuthorization(value); });
    readText(dictionary, "proxyUsername", [&](std::string text) { info.setProxyUsername(std::move(text)); });
    readSecret(dictionary, "proxyPassword", [&](std::string text) { info.setProxyPassword(std::move(text)); });
}

void BXSyncConf::updateDictinary(Dictionary& dictionary, bool all) const
{
    dictionary["identity"] = identity_;
    dictionary["enable"] = enable_;
    dictionary["serverURL"] = serverURL_;
    dictionary["localPath"] = localPath_;
    dictionary["syncmode"] = mode_;
    dictionary["autosync"] = autosync_;
    dictionary["serverDelete"] = serverDelete_;
    dictionary["localDelete"] = localDelete_;
    dictionary["conflict"] = conflict_;
    if (syncLogPath_.empty())
        dictionary.erase("syncLogPath");
    else
        dictionary["syncLogPath"] = syncLogPath_;
    dictionary["logKeepDays"] = logKeepDays_;
    if (!syncSchedules_.empty()) dictionary["syncSchedule"] = textsOf(syncSchedules_);
    writeSecret(dictionary, "encryptKey", encryptKey_);
    dictionary["ignoreServerCert"] = ignoreServerCert_;
    dictionary["certificateId"] = certificateId_;
    if (all) updateConnection(dictionary);
}

void BXSyncConf::updateConnection(Dictionary& dictionary) const
{
    dictionary["includeall"] = true;
    dictionary["name"] = name_;
    dictionary["isUseAuthorization"] = yesNo(info_->isUseAuthorization());
    dictionary["username"] = info_->username();
    writeSecret(dictionary, "password", info_->password());
    dictionary["isUseProxy"] = yesNo(info_->isUseProxy());
    dictionary["proxyHost"] = info_->proxyHost();
    dictionary["proxyPort"] = info_->proxyPort().value_or(0);
    dictionary["isUseProxyAuthorization"] = yesNo(info_->isUseProxyAuthorization());
    dictionary["proxyUsername"] = info_->proxyUsername();
    writeSecret(dictionary, "proxyPassword", info_->proxyPassword());
}

} // namespace tidemark
