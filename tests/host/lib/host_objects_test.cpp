// The host side's own objects: streams, parameter changes, attributes, timer.
#include <gtest/gtest.h>

#include "frame/iidlehandler.h"
#include "host/lib/attributes.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"
#include "host/lib/memory_stream.h"
#include "host/lib/message.h"
#include "host/lib/parameter_changes.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;

TEST(HostStream, ReadsBackWhatWasWrittenAndStopsAtTheEnd) {
    auto stream = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    const char text[] = "state";
    int32 done = -1;
    ASSERT_EQ(stream->write(text, 5, &done), kResultOk);
    EXPECT_EQ(done, 5);
    int64 pos = 0;
    ASSERT_EQ(stream->seek(1, IPlxStream::kSeekSet, &pos), kResultOk);
    ASSERT_EQ(stream->write("T", 1, nullptr), kResultOk);
    stream->rewind();

    char back[8] = {};
    ASSERT_EQ(stream->read(back, 8, &done), kResultOk);
    EXPECT_EQ(done, 5);
    EXPECT_STREQ(back, "sTate");
    EXPECT_EQ(stream->read(back, 1, &done), kResultFalse);
    EXPECT_EQ(done, 0);
    ASSERT_EQ(stream->tell(&pos), kResultOk);
    EXPECT_EQ(pos, 5);
    ASSERT_EQ(stream->seek(-2, IPlxStream::kSeekEnd, &pos), kResultOk);
    EXPECT_EQ(pos, 3);
    EXPECT_EQ(stream->seek(-9, IPlxStream::kSeekCur, &pos), kInvalidArgument);
    EXPECT_EQ(stream->read(nullptr, 4, nullptr), kInvalidArgument);
    EXPECT_EQ(stream->write(nullptr, 4, nullptr), kInvalidArgument);
    EXPECT_EQ(stream->tell(nullptr), kInvalidArgument);
    EXPECT_EQ(stream->bytes().size(), 5u);
}

TEST(HostParameterChanges, QueuesStaySortedAndAreReusedAfterClear) {
    auto changes = IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    int32 index = -1;
    IParamValueQueue* queue = changes->addParameterData(128, &index);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(changes->addParameterData(128, &index), queue);
    queue->addPoint(100, 0.5, &index);
    queue->addPoint(10, 0.1, &index);
    EXPECT_EQ(index, 0);
    queue->addPoint(100, 0.7, &index); // replaces
    EXPECT_EQ(index, 1);
    EXPECT_TRUE(changes->addChange(11, 0, 0.25));
    EXPECT_EQ(changes->getParameterCount(), 2);

    int32 offset = 0;
    ParamValue value = 0;
    ASSERT_EQ(queue->getPointCount(), 2);
    ASSERT_EQ(queue->getPoint(1, &offset, &value), kResultOk);
    EXPECT_EQ(offset, 100);
    EXPECT_EQ(value, 0.7);
    EXPECT_EQ(queue->getPoint(2, &offset, &value), kInvalidArgument);
    EXPECT_EQ(queue->getPoint(0, nullptr, &value), kInvalidArgument);
    EXPECT_EQ(queue->addPoint(-1, 0.0, nullptr), kInvalidArgument);
    EXPECT_TRUE(changes->lastValue(128, &value));
    EXPECT_EQ(value, 0.7);
    EXPECT_FALSE(changes->lastValue(999, &value));
    EXPECT_EQ(changes->getParameterData(2), nullptr);
    EXPECT_EQ(changes->getParameterData(-1), nullptr);

    changes->clear();
    EXPECT_EQ(changes->getParameterCount(), 0);
    IParamValueQueue* again = changes->addParameterData(5, nullptr);
    EXPECT_EQ(again, queue); // the same queue, emptied and renamed
    EXPECT_EQ(again->getParameterId(), 5u);
    EXPECT_EQ(again->getPointCount(), 0);
}

TEST(HostApplicationObjects, MessagesAttributesProductCodeAndTimer) {
    auto host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create(28000));
    int32 code = 0;
    ASSERT_EQ(host->getProductCode(&code), kResultOk);
    EXPECT_EQ(code, 28000);
    host->setProductCode(30000);
    IPtr<IPlxHostInfo> info = IPtr<IPlxHostInfo>::adopt(queryInterfaceOf<IPlxHostInfo>(host->unknown()));
    ASSERT_TRUE(info);
    ASSERT_EQ(info->getProductCode(&code), kResultOk);
    EXPECT_EQ(code, 30000);

    void* obj = nullptr;
    ASSERT_EQ(host->createInstance(IMessage::iid, IMessage::iid, &obj), kResultOk);
    auto message = IPtr<IMessage>::adopt(static_cast<IMessage*>(obj));
    EXPECT_EQ(message->getMessageID(), nullptr);
    message->setMessageID("gainMatrix");
    EXPECT_STREQ(message->getMessageID(), "gainMatrix");
    ASSERT_EQ(host->createInstance(IPlxAttributes::iid, IPlxAttributes::iid, &obj), kResultOk);
    auto list = IPtr<IPlxAttributes>::adopt(static_cast<IPlxAttributes*>(obj));
    EXPECT_EQ(host->createInstance(makeTUID(1, 2, 3, 4), IMessage::iid, &obj), kNoInterface);
    EXPECT_EQ(obj, nullptr);

    // A value of another type reads as missing; a name set again changes type.
    int64 i = 0;
    double d = 0;
    list->setInt("matrixSize", 6);
    EXPECT_EQ(list->getFloat("matrixSize", &d), kResultFalse);
    ASSERT_EQ(list->getInt("matrixSize", &i), kResultOk);
    EXPECT_EQ(i, 6);
    list->setFloat("matrixSize", 0.5);
    EXPECT_EQ(list->getInt("matrixSize", &i), kResultFalse);
    const float coefficients[2] = {1.0f, 0.5f};
    list->setBinary("coefficients", coefficients, sizeof coefficients);
    const void* data = nullptr;
    uint32 size = 0;
    ASSERT_EQ(list->getBinary("coefficients", &data, &size), kResultOk);
    ASSERT_EQ(size, 8u);
    EXPECT_EQ(static_cast<const float*>(data)[1], 0.5f);
    list->setString("Text", u"abcdef");
    char16 small[4];
    ASSERT_EQ(list->getString("Text", small, sizeof small), kResultOk);
    EXPECT_EQ(std::u16string(small), u"abc");
    EXPECT_EQ(list->getString("Text", small, 1), kInvalidArgument);
    EXPECT_EQ(list->getInt(nullptr, &i), kResultFalse);

    struct Idle : IIdleHandler {
        tresult queryInterface(const TUID&, void**) override { return kNoInterface; }
        uint32 addRef() override { return ++refs; }
        uint32 release() override { return --refs; }
        void onIdle() override {
            ++calls;
            if (leave) host->unregisterIdleHandler(this);
        }
        uint32 refs = 1;
        int calls = 0;
        bool leave = false;
        Host::HostApplication* host = nullptr;
    } idle;
    idle.host = host.get();
    EXPECT_EQ(host->registerIdleHandler(&idle), kResultOk);
    EXPECT_EQ(host->registerIdleHandler(&idle), kResultFalse);
    EXPECT_EQ(host->registerIdleHandler(nullptr), kInvalidArgument);
    host->idle();
    host->idle();
    EXPECT_EQ(idle.calls, 2);
    idle.leave = true;
    host->idle();
    host->idle();
    EXPECT_EQ(idle.calls, 3);
    EXPECT_EQ(idle.refs, 1u);
    EXPECT_EQ(host->unregisterIdleHandler(&idle), kResultFalse);
}

TEST(HostComponentHandler, RecordsEditsAndRestartsInOrder) {
    auto handler = IPtr<Host::ComponentHandler>::adopt(Host::ComponentHandler::create());
    handler->beginEdit(134);
    handler->performEdit(134, 0.75);
    handler->endEdit(134);
    handler->restartComponent(kIoChanged);
    ASSERT_EQ(handler->edits.size(), 3u);
    EXPECT_EQ(handler->edits[1].kind, Host::ComponentHandler::EditKind::Perform);
    EXPECT_EQ(handler->edits[1].value, 0.75);
    EXPECT_EQ(handler->restarts, std::vector<int32>{2});
    EXPECT_EQ(handler->finishGroupEdit(), kResultFalse);
    void* obj = nullptr;
    ASSERT_EQ(handler->queryInterface(IComponentHandler2::iid, &obj), kResultOk);
    static_cast<IComponentHandler2*>(obj)->release();
}
