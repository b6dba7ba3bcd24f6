// Controllers: the table-driven setup and its hooks, the host-facing
// parameter operations, and forwarding to the host's component handler.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "frame/editcontroller2.h"
#include "frame/text.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;

namespace {

ParamInfoRecord row(int32 id, const char* title, int32 type, uint32 flags, double min, double max, double def,
                    int32 precision = 0) {
    ParamInfoRecord r;
    std::memset(&r, 0, sizeof r);
    r.id = id;
    copyBounded(r.name, sizeof r.name, title);
    copyBounded(r.title, sizeof r.title, title);
    copyBounded(r.units, sizeof r.units, type == 1 ? "dB" : "");
    r.min = min;
    r.max = max;
    r.defaultNormalized = def;
    r.type = type;
    r.flags = flags;
    r.precision = precision;
    return r;
}

const ParamInfoRecord kTable[] = {
    row(128, "Center Level", 1, 1, 0.0, 1.0, 0.75, 2),
    row(137, "Parts", 0, 0, 0.0, 3.9, 2.7),                // integer: 0 to 3, starting at 2
    row(133, "Low Pass Filter", 2, 1 | 2, 0.0, 1.0, 0.5),  // on/off, read-only, on
    row(110, "Yaw", 1, 1 | 4 | 16, -180.0, 180.0, 0.5, 1), // wraps around, hidden
    row(131, "Solo To Center", 2, 0x20000, 0.0, 1.0, 0.49),
    row(130, "Output Arrangement", 4, 0x20000, 0.0, 1.0, 0.0),
    row(199, "Unwanted", 2, 0, 0.0, 1.0, 0.0),
};

class TestController : public EditController2 {
public:
    PLX_OBJ_METHODS(TestController, EditController2, "Test::TestController")
    std::vector<std::string> calls;

protected:
    std::span<const ParamInfoRecord> getParamTable() const override { return kTable; }
    void beforeParameters(FUnknown* context) override {
        calls.push_back(context ? "before with context" : "before");
    }
    bool wantsParameter(ParamID id) override { return id != 199; }
    void afterParameters() override { calls.push_back("after " + std::to_string(getParameterCount())); }
    void parametersDone() override { calls.push_back("done"); }
};

struct Fixture {
    IPtr<Host::HostApplication> host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    TestController* controller = new TestController;
    Fixture() { EXPECT_EQ(controller->initialize(host->unknown()), kResultOk); }
    ~Fixture() {
        controller->terminate();
        EXPECT_EQ(controller->getParameterCount(), 0);
        controller->release();
    }
};

std::u16string str(IPlxEditController* c, ParamID id, ParamValue v) {
    char16 out[128] = {};
    EXPECT_EQ(c->getParamStringByValue(id, v, out), kResultOk);
    return out;
}

} // namespace

TEST(ControllerSetup, RowsBecomeParametersBetweenTheHooks) {
    Fixture f;
    TestController* c = f.controller;
    EXPECT_EQ(c->calls, (std::vector<std::string>{"before with context", "after 5", "done"}));
    EXPECT_EQ(c->getUsedRows(), (std::vector<int32>{0, 1, 2, 3, 4, 5}));
    ASSERT_EQ(c->getParameterCount(), 5);

    ParameterInfo info{};
    ASSERT_EQ(c->getParameterInfoByIndex(0, &info), kResultOk);
    EXPECT_EQ(info.id, 128u);
    EXPECT_EQ(std::u16string(info.title), u"Center Level");
    EXPECT_EQ(std::u16string(info.units), u"dB");
    EXPECT_EQ(info.stepCount, 0);
    EXPECT_EQ(info.defaultNormalizedValue, 0.75);
    EXPECT_EQ(info.flags, ParameterInfo::kCanAutomate);
    EXPECT_EQ(c->getParamNormalized(128), 0.75);
    EXPECT_EQ(str(c, 128, 0.5), u"0.50");

    ASSERT_EQ(c->getParameterInfo(137, &info), kResultOk);
    EXPECT_EQ(info.stepCount, 3);
    EXPECT_EQ(info.flags, 0);
    EXPECT_DOUBLE_EQ(c->getParamNormalized(137), 2.0 / 3.0);
    EXPECT_EQ(c->normalizedParamToPlain(137, 1.0), 3.0);
    EXPECT_EQ(str(c, 137, 0.3), u"1");

    ASSERT_EQ(c->getParameterInfo(133, &info), kResultOk);
    EXPECT_EQ(info.stepCount, 1);
    EXPECT_EQ(info.flags, ParameterInfo::kCanAutomate | ParameterInfo::kIsReadOnly);
    EXPECT_EQ(c->getParamNormalized(133), 1.0);
    EXPECT_EQ(str(c, 133, 1.0), u"On");
    EXPECT_EQ(c->getParamNormalized(131), 0.0);
    ASSERT_EQ(c->getParameterInfo(110, &info), kResultOk);
    EXPECT_EQ(info.flags,
              ParameterInfo::kCanAutomate | ParameterInfo::kIsWrapAround | ParameterInfo::kIsHidden);

    // The list row makes no parameter by default, the unwanted one none at all.
    EXPECT_EQ(c->getParameterInfo(130, &info), kResultFalse);
    EXPECT_EQ(c->getParameterInfo(199, &info), kResultFalse);
    EXPECT_EQ(c->getParameterInfo(128, nullptr), kInvalidArgument);
    EXPECT_EQ(c->getParameterInfoByIndex(5, &info), kResultFalse);
    EXPECT_EQ(c->getParameterInfoByIndex(0, nullptr), kInvalidArgument);

    // A second initialize keeps the first context and adds nothing.
    EXPECT_EQ(c->initialize(f.host->unknown()), kResultFalse);
    EXPECT_EQ(c->getParameterCount(), 5);
}

TEST(ControllerParameters, EveryOperationReachesTheParameterById) {
    Fixture f;
    TestController* c = f.controller;
    EXPECT_EQ(c->setParamNormalized(128, 1.5), kResultOk);
    EXPECT_EQ(c->getParamNormalized(128), 1.0);
    EXPECT_EQ(c->setParamNormalized(999, 0.5), kResultFalse);
    EXPECT_EQ(c->getParamNormalized(999), 0.0);
    EXPECT_EQ(c->normalizedParamToPlain(999, 0.3), 0.3);
    EXPECT_EQ(c->plainParamToNormalized(137, 2.0), 2.0 / 3.0);

    ParamValue v = -1;
    EXPECT_EQ(c->getParamValueByString(128, u"0.25", &v), kResultOk);
    EXPECT_EQ(v, 0.25);
    EXPECT_EQ(c->getParamValueByString(999, u"1", &v), kResultFalse);
    EXPECT_EQ(c->getParamValueByString(128, nullptr, &v), kInvalidArgument);
    EXPECT_EQ(c->getParamValueByString(128, u"1", nullptr), kInvalidArgument);
    char16 out[128];
    EXPECT_EQ(c->getParamStringByValue(999, 0.5, out), kResultFalse);
    EXPECT_EQ(c->getParamStringByValue(128, 0.5, nullptr), kInvalidArgument);

    EXPECT_EQ(c->getEditorParameters().addParameter(u"isInsert", nullptr, 1, 0.0, 0, 807)->getInfo().id,
              807u);
    EXPECT_EQ(c->getParameterInfo(807, nullptr), kInvalidArgument);
    ParameterInfo info{};
    EXPECT_EQ(c->getParameterInfo(807, &info), kResultFalse); // the host doesn't see it
}

TEST(ControllerHandler, EditsAndRestartsGoToTheHostWhenThereIsOne) {
    Fixture f;
    TestController* c = f.controller;
    // Without a handler: false for edits and restarts, not implemented for the rest.
    EXPECT_EQ(c->performEdit(128, 0.5), kResultFalse);
    EXPECT_EQ(c->restartComponent(kIoChanged), kResultFalse);
    EXPECT_EQ(c->setDirty(true), kNotImplemented);

    auto handler = IPtr<Host::ComponentHandler>::adopt(Host::ComponentHandler::create());
    EXPECT_EQ(c->setComponentHandler(handler.get()), kResultOk);
    EXPECT_EQ(handler->refCount(), 3); // one for each of the two interfaces
    EXPECT_EQ(c->setComponentHandler(handler.get()), kResultOk);
    EXPECT_EQ(handler->refCount(), 3);

    EXPECT_EQ(c->beginEdit(128), kResultOk);
    EXPECT_EQ(c->performEdit(128, 0.5), kResultOk);
    EXPECT_EQ(c->endEdit(128), kResultOk);
    EXPECT_EQ(c->restartComponent(kIoChanged), kResultOk);
    EXPECT_EQ(c->restartComponent(kParamTitlesChanged), kResultOk);
    EXPECT_EQ(c->setDirty(true), kResultOk);
    ASSERT_EQ(handler->edits.size(), 3u);
    EXPECT_EQ(handler->edits[0].kind, Host::ComponentHandler::EditKind::Begin);
    EXPECT_EQ(handler->edits[1].value, 0.5);
    EXPECT_EQ(handler->edits[2].id, 128u);
    EXPECT_EQ(handler->restarts, (std::vector<int32>{2, 0x10}));
    EXPECT_TRUE(handler->dirty);

    EXPECT_EQ(c->setComponentHandler(nullptr), kResultOk);
    EXPECT_EQ(handler->refCount(), 1);
    EXPECT_EQ(c->beginEdit(128), kResultFalse);
}

TEST(ControllerUnits, UnitsAndProgramListsAnswerByIndexAndId) {
    Fixture f;
    TestController* c = f.controller;
    EXPECT_TRUE(c->addUnit(new Unit(u"Root", kRootUnitId, kNoParentUnitId, 7)));
    EXPECT_FALSE(c->addUnit(nullptr));
    auto* list = new ProgramListWithPitchNames(u"Presets", 7, kRootUnitId);
    list->addProgram(u"Default");
    list->addProgram(u"Wide");
    EXPECT_FALSE(list->setPitchName(2, 60, u"C3")); // no third program
    EXPECT_TRUE(c->addProgramList(list));

    UnitInfo unit{};
    ASSERT_EQ(c->getUnitInfo(0, &unit), kResultOk);
    EXPECT_EQ(unit.programListId, 7);
    EXPECT_EQ(c->getUnitInfo(1, &unit), kInvalidArgument);
    char16 name[128];
    ASSERT_EQ(c->getProgramName(7, 1, name), kResultOk);
    EXPECT_EQ(std::u16string(name), u"Wide");
    EXPECT_EQ(c->getProgramName(7, 2, name), kResultFalse);
    EXPECT_EQ(c->getProgramName(8, 0, name), kResultFalse);

    for (const TUID& iid :
         {IPlxEditController::iid, IPlxUnitInfo::iid, IConnectionPoint::iid, IPluginBase::iid}) {
        void* obj = nullptr;
        ASSERT_EQ(c->queryInterface(iid, &obj), kResultOk);
        static_cast<FUnknown*>(obj)->release();
    }
    EXPECT_FALSE(c->isTypeOf("Plx::Component", true));
}
