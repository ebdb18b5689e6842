#include <gtest/gtest.h>
#include <sys/stat.h>

#include <future>
#include <limits>

#include "TempFolder.h"
#include "platform/MainThread.h"
#include "platform/RunLoop.h"
#include "platform/Streams.h"
#include "platform/Threads.h"

using namespace tidemark;

namespace {

std::string readAll(InputStream& stream)
{
    std::string content;
    std::array<std::byte, 3> buffer{};
    while (true) {
        auto count = stream.read(buffer);
        if (count <= 0) return count < 0 ? "failed" : content;
        content.append(reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(count));
    }
}

bool writeText(OutputStream& stream, std::string_view text)
{
    return stream.write(std::as_bytes(std::span(text)));
}

void expectReadableTwice(InputStream& stream, const std::string& content)
{
    EXPECT_EQ(stream.streamStatus(), StreamStatus::notOpen);
    EXPECT_EQ(readAll(stream), "failed");
    EXPECT_FALSE(stream.rewind());
    ASSERT_TRUE(stream.open());
    EXPECT_TRUE(stream.hasBytesAvailable());
    EXPECT_EQ(readAll(stream), content);
    EXPECT_EQ(stream.streamStatus(), StreamStatus::atEnd);
    EXPECT_FALSE(stream.hasBytesAvailable());
    ASSERT_TRUE(stream.rewind());
    EXPECT_EQ(readAll(stream), content);
    stream.close();
    EXPECT_EQ(readAll(stream), "failed");
}

} // namespace

TEST(Streams, InputIsReadToItsEndAndAgain)
{
    test::TempFolder folder;
    folder.write("file", "some bytes");
    expectReadableTwice(*makeFileInputStream(folder.path("file")), "some bytes");
    expectReadableTwice(*makeMemoryInputStream(std::make_shared<std::string>("some bytes")), "some bytes");
}

TEST(Streams, OutputTruncatesOrAppends)
{
    test::TempFolder folder;
    folder.write("file", "old content");
    for (bool append : {false, true}) {
        auto stream = makeFileOutputStream(folder.path("file"), append);
        EXPECT_FALSE(writeText(*stream, "early"));
        ASSERT_TRUE(stream->open());
        EXPECT_TRUE(writeText(*stream, "new"));
        EXPECT_TRUE(stream->close());
        EXPECT_FALSE(writeText(*stream, "late"));
    }
    EXPECT_EQ(folder.read("file"), "newnew");
    auto target = std::make_shared<std::string>("a");
    auto memory = makeMemoryOutputStream(target);
    EXPECT_TRUE(memory->open() && writeText(*memory, "b") && memory->close());
    EXPECT_EQ(*target, "ab");
}

TEST(Streams, OnlyFilesAreOpened)
{
    test::TempFolder folder;
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    for (const auto& path : {folder.path(), folder.path("pipe"), folder.path("missing/file")}) {
        auto input = makeFileInputStream(path);
        EXPECT_FALSE(input->open());
        EXPECT_EQ(input->streamStatus(), StreamStatus::error);
        auto output = makeFileOutputStream(path, false);
        EXPECT_FALSE(output->open());
        ASSERT_NE(output->streamError(), nullptr);
        EXPECT_NE(output->streamError()->description().find(path), std::string::npos);
        EXPECT_FALSE(output->close());
    }
}

TEST(NamedThread, IsFinishedOnceItsWorkIsGone)
{
    auto held = std::make_shared<int>(1);
    std::weak_ptr<int> watched = held;
    std::promise<void> mayEnd;
    std::string name;
    NamedThread thread("ListupThread of many", [&name, held, go = mayEnd.get_future().share()] {
        name = currentThreadName();
        go.wait();
    });
    held.reset();
    EXPECT_FALSE(thread.isFinished());
    EXPECT_FALSE(thread.waitFor(std::chrono::nanoseconds(0)));
    mayEnd.set_value();
    EXPECT_TRUE(thread.waitFor(std::chrono::nanoseconds::max()));
    EXPECT_TRUE(thread.isFinished());
    EXPECT_EQ(name, "ListupThread of many");
    EXPECT_TRUE(watched.expired());
}

TEST(MainThread, WorkOfOtherThreadsRunsOnIt)
{
    MainThread::adopt();
    auto loop = RunLoop::current();
    std::thread::id ranOn;
    bool finishedFirst = false;
    NamedThread other("other", [&] {
        EXPECT_FALSE(MainThread::isCurrent());
        MainThread::execute([&] { ranOn = std::this_thread::get_id(); });
        finishedFirst = ranOn != std::thread::id();
        loop->stop();
    });
    loop->run();
    other.join();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    EXPECT_TRUE(finishedFirst);
    EXPECT_TRUE(MainThread::isCurrent());
}

TEST(MainThread, WorkThatNobodyTakesDoesNotHoldUpItsThread)
{
    NamedThread window("window", [] { MainThread::adopt([](std::function<void()>) {}); });
    window.join();
    bool ran = false;
    MainThread::execute([&] { ran = true; });
    EXPECT_FALSE(ran);
    MainThread::adopt();
}
