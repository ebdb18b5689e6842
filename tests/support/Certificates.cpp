#include "support/Certificates.h"

namespace fs = std::filesystem;

namespace tidemark::testing {

namespace {

std::vector<std::string> newCertificate(const CertificateFiles& files, const std::string& subject)
{
    return {"openssl",
            "req",
            "-x509",
            "-newkey",
            "ec",
            "-pkeyopt",
            "ec_paramgen_curve:P-256",
            "-nodes",
            "-keyout",
            files.key,
            "-out",
            files.certificate,
            "-days",
            "30",
            "-subj",
            "/O=Tidemark tests/CN=" + subject};
}

void append(std::vector<std::string>& arguments, std::initializer_list<std::string> more)
{
    arguments.insert(arguments.end(), more);
}

} // namespace

Certificates::Certificates() = default;

CertificateFiles Certificates::files(const std::string& name) const
{
    const fs::path base = directory_.path() / name;
    return {base.string() + ".pem", base.string() + ".key"};
}

CertificateFiles Certificates::authority(const std::string& name)
{
    const CertificateFiles made = files(name);
    if (fs::exists(made.certificate)) return made;
    std::vector<std::string> arguments = newCertificate(made, name);
    append(arguments, {"-addext", "basicConstraints=critical,CA:TRUE"});
    requireCommand(arguments);
    directory_.handOver();
    return made;
}

CertificateFiles Certificates::issued(const std::string& name, const std::string& issuer,
                                      const std::string& alternativeNames)
{
    const CertificateFiles made = files(name);
    if (fs::exists(made.certificate)) return made;
    const CertificateFiles signer = authority(issuer);
    std::vector<std::string> arguments = newCertificate(made, name);
    append(arguments, {"-CA", signer.certificate, "-CAkey", signer.key, "-addext", "basicConstraints=critical,CA:FALSE",
                       "-addext", "subjectAltName=" + alternativeNames});
    requireCommand(arguments);
    directory_.handOver();
    return made;
}

CertificateFiles Certificates::selfSigned()
{
    const CertificateFiles made = files("self-signed");
    if (fs::exists(made.certificate)) return made;
    std::vector<std::string> arguments = newCertificate(made, "self-signed");
    append(arguments, {"-addext", std::string("subjectAltName=") + serverNames});
    requireCommand(arguments);
    directory_.handOver();
    return made;
}

CertificateFiles Certificates::expired()
{
    const CertificateFiles made = files("expired");
    if (fs::exists(made.certificate)) return made;
    const CertificateFiles signer = authority("authority"), lasting = valid();
    const std::string request = requireCommand({"openssl", "req", "-new", "-key", lasting.key, "-subj", "/CN=expired",
                                                "-addext", std::string("subjectAltName=") + serverNames});
    requireCommand({"openssl", "x509", "-req", "-CA", signer.certificate, "-CAkey", signer.key, "-CAcreateserial",
                    "-days", "-1", "-copy_extensions", "copy", "-out", made.certificate},
                   request);
    fs::copy_file(lasting.key, made.key);
    directory_.handOver();
    return made;
}

} // namespace tidemark::testing
