#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tidemark {

class BXSyncConf;

/// Takes secrets out of text that leaves this computer: the ones it has been told, the user part of URLs, and what
/// follows words that name a secret ("Authorization:", "password="). Line by line: a secret that a line break divides
/// is two texts.
class SecretScrubber
{
public:
    static constexpr std::string_view replacement = "[removed]";

    /// Takes the text out as it is, escaped as a part of a URL, and as it is stored.
    void addSecret(const std::string& secret);
    /// Passwords, encryption key, and the credentials as a request carries them.
    void addSecretsOf(const BXSyncConf& conf);

    std::string scrub(std::string_view line) const;

private:
    void addForm(std::string form);
    void addCredentials(const std::string& user, const std::string& password);
    void takeOutKnown(std::string& line) const;

    /// Longest first, so that none leaves a part of another behind.
    std::vector<std::string> forms_;
};

} // namespace tidemark
