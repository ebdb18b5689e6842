#include "app/cli/Secrets.h"

#include "app/cli/Console.h"
#include "app/cli/Terminal.h"
#include "platform/FileSystem.h"
#include "platform/Unicode.h"

namespace tidemark::cli {

namespace {

constexpr std::int64_t longestPasswordFile = 64 * 1024;

std::string firstLine(const std::string& text)
{
    auto line = text.substr(0, text.find('\n'));
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

/// Other text could not be stored, and would be taken for none.
Checked<std::string> checkedSecret(std::string secret)
{
    if (!isUtf8(secret)) return tl::unexpected(std::string("passwords and keys have to be UTF-8 text"));
    return secret;
}

Checked<std::string> passwordFromFile(const std::string& path)
{
    const auto text = fs::readFile(path, longestPasswordFile);
    if (!text) return tl::unexpected("the password file cannot be read: " + text.error().description());
    return checkedSecret(firstLine(*text));
}

} // namespace

Checked<std::string> passwordFromSource(const ConfigurationOptions& options, Terminal& terminal)
{
    if (options.passwordSource != PasswordSource::file) return secretFromInput(terminal, "the password");
    const auto password = passwordFromFile(options.passwordFile);
    if (password && password->empty())
        return tl::unexpected(std::string("the source of the password has no text on its first line"));
    return password;
}

Checked<std::string> secretFromInput(Terminal& terminal, const std::string& what)
{
    const auto line = terminal.isInteractive() ? terminal.readSecret([] {}) : terminal.readLine();
    if (!line || line->empty()) return tl::unexpected("standard input has no line with " + what);
    return checkedSecret(*line);
}

std::optional<std::string> askSecret(Console& console, Terminal& terminal, const std::string& question)
{
    auto answer = terminal.readSecret([&] { console.prompt(question); });
    console.endPrompt(true);
    return answer;
}

std::optional<std::string> askLine(Console& console, Terminal& terminal, const std::string& question)
{
    console.prompt(question);
    auto answer = terminal.readLine();
    console.endPrompt(!answer);
    return answer;
}

} // namespace tidemark::cli
