#pragma once

#include <memory>
#include <string>

#include "davclient/ASWDCmdBase.h"
#include "davclient/ASXMLDomParser.h"

namespace tidemark {

/// A command with XML in both directions. As the delegate of a parser it keeps the finished tree and completes; a parse
/// error is error 32769.
class ASWDCmdPropBase : public ASWDCmdRequestBase, public ASXMLDomParserDelegate
{
public:
    using ASWDCmdRequestBase::ASWDCmdRequestBase;

    const std::shared_ptr<ASXMLDomNode>& responseRootNode() const { return responseRootNode_; }

    void parserDidFinishDocument(ASXMLDomParser& parser) override;
    void parserError(ASXMLDomParser& parser) override;

private:
    std::shared_ptr<ASXMLDomNode> responseRootNode_;
};

class ASWDCmdPropFind : public ASWDCmdPropBase
{
public:
    /// The body asks for all properties until it is replaced.
    explicit ASWDCmdPropFind(Url remoteURL, std::shared_ptr<ASHttpConnectInfo> connectInfo = nullptr);

    std::optional<int> depth() const { return depth_; }
    /// Nothing: no "Depth" header.
    void setDepth(std::optional<int> depth) { depth_ = depth; }

    std::string protocol() const override { return "PROPFIND"; }
    std::optional<double> timeout() override;

protected:
    bool makeRequest() override;

private:
    std::optional<int> depth_ = 1;
};

class ASWDCmdPropPatch : public ASWDCmdPropBase
{
public:
    using ASWDCmdPropBase::ASWDCmdPropBase;
    std::string protocol() const override { return "PROPPATCH"; }
};

class ASWDCmdLock : public ASWDCmdPropBase
{
public:
    explicit ASWDCmdLock(Url remoteURL, std::shared_ptr<ASHttpConnectInfo> connectInfo = nullptr);

    /// The body is made with the command, when there is no owner yet: an owner set later is not in it.
    const std::string& ownerHREF() const { return ownerHREF_; }
    void setOwnerHREF(std::string href) { ownerHREF_ = std::move(href); }

    std::string protocol() const override { return "LOCK"; }

private:
    std::string ownerHREF_;
};

class ASWDCmdUnlock : public ASWDCmdRequestBase
{
public:
    using ASWDCmdRequestBase::ASWDCmdRequestBase;

    const std::string& lockToken() const { return lockToken_; }
    void setLockToken(std::string token) { lockToken_ = std::move(token); }

    std::string protocol() const override { return "UNLOCK"; }

protected:
    bool makeRequest() override;

private:
    std::string lockToken_;
};

} // namespace tidemark
