#pragma once

#include <string>

#include "davclient/ASWDCmdBase.h"

namespace tidemark {

// Commands without a request body.

class ASWDCmdDelete : public ASWDCmdBase
{
public:
    using ASWDCmdBase::ASWDCmdBase;
    std::string protocol() const override { return "DELETE"; }
};

class ASWDCmdOptions : public ASWDCmdBase
{
public:
    using ASWDCmdBase::ASWDCmdBase;
    std::string protocol() const override { return "OPTIONS"; }
    std::optional<double> timeout() override;
};

class ASWDCmdMkCol : public ASWDCmdBase
{
public:
    using ASWDCmdBase::ASWDCmdBase;
    std::string protocol() const override { return "MKCOL"; }
};

class ASWDCmdHead : public ASWDCmdBase
{
public:
    using ASWDCmdBase::ASWDCmdBase;
    std::string protocol() const override { return "HEAD"; }
};

/// COPY and MOVE name their target by its path ("Destination"), ":" written %3A; nothing is said about overwriting.
class ASWDCmdDestinationBase : public ASWDCmdBase
{
public:
    using ASWDCmdBase::ASWDCmdBase;

    const Url& destinationURL() const { return destinationURL_; }
    void setDestinationURL(Url url) { destinationURL_ = std::move(url); }

protected:
    bool makeRequest() override;

private:
    Url destinationURL_;
};

class ASWDCmdCopy : public ASWDCmdDestinationBase
{
public:
    using ASWDCmdDestinationBase::ASWDCmdDestinationBase;
    std::string protocol() const override { return "COPY"; }
};

class ASWDCmdMove : public ASWDCmdDestinationBase
{
public:
    using ASWDCmdDestinationBase::ASWDCmdDestinationBase;
    std::string protocol() const override { return "MOVE"; }
};

} // namespace tidemark
