// The type library as clients read it, against the published interface: order, names, ids, roles, kinds.

#include <cstdint>
#include <map>
#include <sstream>
#include <vector>

#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

std::string name_of(ITypeInfo& type, MEMBERID member) {
  BSTR name = nullptr;
  type.GetDocumentation(member, &name, nullptr, nullptr, nullptr);
  std::string result = automation::utf8(name);
  SysFreeString(name);
  return result;
}

std::string text_of(ITypeInfo& owner, const TYPEDESC& type) {
  switch (type.vt) {
    case VT_PTR:
      return text_of(owner, *type.lptdesc) + "&";
    case VT_SAFEARRAY:
      return text_of(owner, *type.lptdesc) + "()";
    case VT_USERDEFINED: {
      ComPtr<ITypeInfo> referred;
      owner.GetRefTypeInfo(type.hreftype, referred.receive());
      return name_of(*referred.get(), MEMBERID_NIL);
    }
    default: {
      static const std::map<VARTYPE, const char*> kKinds = {{VT_BOOL, "Boolean"}, {VT_I2, "Integer"},
                                                            {VT_I4, "Long"},      {VT_R8, "Double"},
                                                            {VT_BSTR, "String"},  {VT_DISPATCH, "Object"}};
      const auto found = kKinds.find(type.vt);
      return found == kKinds.end() ? "?" : found->second;
    }
  }
}

std::string text_of(ITypeInfo& type, const FUNCDESC& function) {
  static const std::map<INVOKEKIND, const char*> kRoles = {{INVOKE_FUNC, "call"},
                                                           {INVOKE_PROPERTYGET, "get"},
                                                           {INVOKE_PROPERTYPUT, "put"},
                                                           {INVOKE_PROPERTYPUTREF, "set"}};
  std::ostringstream text;
  text << std::hex << function.memid << std::dec << ' ' << kRoles.at(function.invkind) << ' '
       << name_of(type, function.memid) << '(';
  std::string result;
  for (int i = 0; i < function.cParams; ++i) {
    const ELEMDESC& parameter = function.lprgelemdescParam[i];
    const USHORT flags = parameter.paramdesc.wParamFlags;
    const std::string kind = text_of(type, parameter.tdesc);
    if ((flags & PARAMFLAG_FRETVAL) != 0) {
      result = " " + kind;
      continue;
    }
    const bool reference = parameter.tdesc.vt == VT_PTR;
    const USHORT expected = reference ? PARAMFLAG_FIN | PARAMFLAG_FOUT : PARAMFLAG_FIN;
    text << (i == 0 ? "" : ", ") << kind << ((flags & 3) == expected ? "" : " (wrong direction)");
    if ((flags & PARAMFLAG_FHASDEFAULT) != 0)
      text << '=' << parameter.paramdesc.pparamdescex->varDefaultValue.lVal;
  }
  text << ')' << result;
  if (function.callconv != CC_STDCALL) text << " (wrong calling convention)";
  return text.str();
}

class TypeLibrary : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(LoadTypeLibEx(server_path().c_str(), REGKIND_NONE, library_.receive()), S_OK);
  }

  ComPtr<ITypeInfo> type(const char* name) {
    for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
      ComPtr<ITypeInfo> info;
      library_->GetTypeInfo(i, info.receive());
      if (name_of(*info.get(), MEMBERID_NIL) == name) return info;
    }
    ADD_FAILURE() << name << " is missing";
    return {};
  }

  // The function table of a dual interface, one line a member; slots are checked on the way.
  std::vector<std::string> members(const char* interface_name) {
    const ComPtr<ITypeInfo> dispatch = type(interface_name);
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> table;
    EXPECT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    EXPECT_EQ(dispatch->GetRefTypeInfo(reference, table.receive()), S_OK);
    TYPEATTR* attributes = nullptr;
    table->GetTypeAttr(&attributes);
    const UINT count = attributes->cFuncs;
    EXPECT_TRUE((attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0);
    table->ReleaseTypeAttr(attributes);
    std::vector<std::string> lines;
    for (UINT i = 0; i < count; ++i) {
      FUNCDESC* function = nullptr;
      table->GetFuncDesc(i, &function);
      lines.push_back(text_of(*table.get(), *function));
      EXPECT_EQ(static_cast<std::size_t>(function->oVft), (7 + i) * sizeof(void*)) << lines.back();
      table->ReleaseFuncDesc(function);
    }
    return lines;
  }

  ComPtr<ITypeLib> library_;
};

std::string hex(std::uint32_t id) {
  std::ostringstream text;
  text << std::hex << id;
  return text.str();
}

// Rows such as "Long: a b c; String: d": public fields, numbered from 0.
void expect_fields(const char* rows, std::vector<std::string>& lines) {
  std::uint32_t id = 0x40030000;
  std::istringstream words(rows);
  std::string kind;
  for (std::string word; words >> word;) {
    if (word.back() == ':') {
      kind = word.substr(0, word.size() - 1);
      continue;
    }
    lines.push_back(hex(id) + " get " + word + "() " + kind + "&");
    lines.push_back(hex(id) + (kind == "Object" ? " set " : " put ") + word + "(" + kind + ")");
    ++id;
  }
}

void expect_property(std::uint32_t id, const std::string& name, const std::string& kind,
                     std::vector<std::string>& lines) {
  lines.push_back(hex(id) + " get " + name + "() " + kind + "&");
  lines.push_back(hex(id) + " put " + name + "(" + kind + "&)");
}

TEST_F(TypeLibrary, OrdvaneReports) {
  std::vector<std::string> expected;
  expect_fields(
      "Boolean: ReportAllOutputCells String: ReportOutputCellsSubsetList Boolean: PerformPrecedentScan "
      "Integer: PrecedentScanType Boolean: RemoveAutoVarysAtEndOfRun Integer: DefaultDistForRange "
      "DefaultRangeType Double: DefaultMinChange DefaultMaxChange Integer: DefaultStepsPerInput "
      "DefaultMultiStepsPerInput DefaultMultiGroupSize NumberOfRuns Boolean: PauseOnError UpdateDisplay "
      "OnlyOrdvaneing Long: MaxInputsPerGraph Boolean: OnlyInputsOverThreshold Double: InputsChangeThreshold "
      "Boolean: OutputsAsPercentChange String: ReportsInExistingWorkbookName "
      "Boolean: SingleWorkbookAllResults",
      expected);
  expected.push_back("68030011 get name() String&");
  std::uint32_t id = 0x68030010;
  for (const char* name : {"ReportsInExistingWorkbook", "ReportsInNewWorkbook", "OverwriteExisting",
                           "TornadoGraphs", "SpiderGraphs", "SensitivityGraphs", "SummaryReport",
                           "OutputSummaryReport", "OutputDetailReport", "MultiWayReport", "DetailByInput"})
    expect_property(id--, name, "Boolean", expected);
  expect_property(0x68030005, "BarColor", "Long", expected);
  expect_property(0x68030004, "BaselineColor", "Long", expected);
  expect_property(0x68030003, "IncludeBaseline", "Boolean", expected);
  const std::string leading = "(Object&, Long()&, _DralInputOutput&()&, _DralInputOutput&()&, ";
  const std::string runs = "Long&=1, Long&=1) Long&";
  for (const std::string& line :
       {std::string("60030012 call Initialize(Object&, Long&)"), std::string("60030013 call Terminate()"),
        std::string("60030014 call GenerateReports(Long()&) Long&"),
        "60030016 call multiReport" + leading + "Long&, OrdvaneOutputMode&, " + runs,
        "60030017 call getInputForIteration" + leading +
            "Long&, Long&, Long&, Long&, Long&, OrdvaneOutputMode&, " + runs,
        "60030018 call MakeSummaryReport" + leading + "_OrdvaneSummary&&, " + runs,
        "60030019 call makeOutputsMissingReport" + leading + "Long&, Long()&, " + runs})
    expected.push_back(line);
  expect_property(0x68030002, "WatermarkText", "String", expected);
  expected.push_back("68030001 get WatermarkTextPrimary() String&");
  expected.push_back("68030000 get WatermarkTextSecondary() String&");
  EXPECT_EQ(members("_OrdvaneReports"), expected);
}

TEST_F(TypeLibrary, DralInputOutput) {
  std::vector<std::string> expected;
  expect_fields(
      "Long: bookIndex sheetIndex CellIndex formulaIndex String: originalFormula bookName sheetName "
      "cellAddress rangeAddress ioName originalDistribution Long: distStartIndex distStopIndex ioIndex "
      "Boolean: isDralInput isDralOutput isDralOutputSelectedForAnalysis Long: dralOutputIndex "
      "Integer: inCellIndex Boolean: isFormula Double: m_BaseValue m_OriginalValue minChange maxChange "
      "Integer: rangeType Long: numSteps Boolean: addStepsArgument Integer: distForRange "
      "Boolean: addDistForRangeArgument Integer: tableType String: tableReference Long: rowInTable "
      "Boolean: useDefaultName String: defaultName outputRangeName Long: outputRangeIndex "
      "Object: outputRangeNameRef cellRangeThisInputOrOutput Boolean: isOrdvaneInput isOrdvaneMultiVary "
      "String: numberFormat NumberFormatLocal Boolean: isLocked isMulti Long: startingIteration "
      "Boolean: IsDate String: DateFormat",
      expected);
  expect_property(0x68030020, "BaseValue", "Double", expected);
  expect_property(0x68030021, "OriginalValue", "Double", expected);
  expect_property(0x68030022, "SimpleName", "String", expected);
  expected.push_back("68030023 get SimpleNameShort() String&");
  expect_property(0x68030024, "QualifiedName", "String", expected);
  struct Table {
    const char *name, *initialiser, *indexes, *put_indexes;
  };
  constexpr const char* kOne = "Long";
  constexpr const char* kTwo = "Long, Long";
  constexpr Table kTables[] = {
      {"TableOfValues", "tableOfValuesInit", kOne, kOne},
      {"InputValuesUsed", "inputValuesUsedInit", kOne, kOne},
      {"OutputValuesCalculated", "outputValuesCalculatedInit", kTwo, kTwo},
      {"outputPercentChangedCalculated", "outputPercentChangedCalculatedInit", kTwo, kTwo},
      {"outputRankPerStep", "outputRankPerStepInit", kTwo, kTwo},
      {"outputMinMaxChange", "outputMinMaxChangeInit", "Long, Long, Long", "Long, Long&, Long&"},
      {"outputMinValue", "outputMinValueInit", kOne, kOne},
      {"outputMinPercentChange", "outputMinPercentChangeInit", kOne, kOne},
      {"outputMaxValue", "outputMaxValueInit", kOne, kOne},
      {"outputMaxPercentChange", "outputMaxPercentChangeInit", kOne, kOne},
      {"minInputValue", "minInputValueInit", kOne, kOne},
      {"maxInputValue", "maxInputValueInit", kOne, kOne},
      {"outputBarWidth", "outputBarWidthInit", kOne, kOne},
      {"outputRank", "outputRankInit", kOne, kOne},
  };
  std::uint32_t number = 0;
  for (const Table& table : kTables) {
    const std::string indexes = table.indexes;
    const std::string name = table.name;
    const std::string item = hex(0x68030000 + number);
    expected.push_back(hex(0x60030000 + 2 * number) + " call " + table.initialiser + "(" + indexes +
                       ") Long&");
    expected.push_back(item + " get " + name + "(" + indexes + ") Double&");
    expected.push_back(item + " put " + name + "(" + indexes + ", Double)");
    expected.push_back(hex(0x60030001 + 2 * number) + " call " + name + "Put(" + table.put_indexes +
                       ", Double)");
    ++number;
  }
  expected.push_back("60030040 call NameOrQualifiedCellAddressName(OrdvaneRangeMode&) String&");
  EXPECT_EQ(members("_DralInputOutput"), expected);
}

TEST_F(TypeLibrary, OrdvaneSummary) {
  std::vector<std::string> expected;
  expect_fields(
      "Long: Runs Recalculations OutputsTotal OutputsSelected OutputsImpacted InputsTotal InputsStandard "
      "InputsAutoVary RecalculationsTotal RecalculationsStandard RecalculationsMultiWay samplingType "
      "SimulationStart SimulationStop SimulationDuration Double: ThreshholdOfInputs",
      expected);
  expect_property(0x68030000, "MaximumNumberOfInputs", "Long", expected);
  EXPECT_EQ(members("_OrdvaneSummary"), expected);
}

TEST_F(TypeLibrary, EnumerationsAndRecord) {
  struct Case {
    const char *type, *members;
  };
  constexpr Case kCases[] = {
      {"OrdvaneOutputMode", "OrdvaneOutputAsValue=0 OrdvaneOutputAsPercentChange=1 "},
      {"OrdvaneRangeMode", "OrdvaneRangeCellMode=0 OrdvaneRangeSheetMode=1 OrdvaneRangeBookMode=2 "},
      {"OrdvaneInvalidTableValue",
       "OrdvaneInvalidTableValueNone=0 OrdvaneInvalidTableValueInputBaseZero=1 "
       "OrdvaneInvalidTableValueOutputBaseZero=2 OrdvaneInvalidTableValueInputBaseInvalid=4 "
       "OrdvaneInvalidTableValueOutputBaseInvalid=8 OrdvaneInvalidTableValueInputOutputBaseZero=16 "
       "OrdvaneInvalidTableValueInputOutputBaseInvalid=32 OrdvaneInvalidTableValueError=128 "},
      {"OrdvaneDivisorType", "OrdvaneDivisorInputOrOutput=0 OrdvaneDivisorInput=1 OrdvaneDivisorOutput=2 "},
      {"OrdvaneTableLimitsExceededType",
       "OrdvaneTableLimitsExceededNone=0 OrdvaneTableLimitsExceededColumns=1 "
       "OrdvaneTableLimitsExceededRows=2 "},
      {"multiData", "name:String addr:String BaseValue:Double value:Double() pc:Double() rank:Long() "},
  };
  for (const Case& c : kCases) {
    const ComPtr<ITypeInfo> info = type(c.type);
    ASSERT_TRUE(info);
    TYPEATTR* attributes = nullptr;
    info->GetTypeAttr(&attributes);
    std::string members;
    for (UINT i = 0; i < attributes->cVars; ++i) {
      VARDESC* member = nullptr;
      info->GetVarDesc(i, &member);
      members += name_of(*info.get(), member->memid);
      members += member->varkind == VAR_CONST ? "=" + std::to_string(member->lpvarValue->lVal)
                                              : ":" + text_of(*info.get(), member->elemdescVar.tdesc);
      members += ' ';
      info->ReleaseVarDesc(member);
    }
    info->ReleaseTypeAttr(attributes);
    EXPECT_EQ(members, c.members) << c.type;
  }
}

TEST_F(TypeLibrary, ClassesAndTheirDefaultInterfaces) {
  struct Case {
    const char *name, *interface_name;
    bool creatable;
  };
  for (const Case& c :
       {Case{"OrdvaneReports", "_OrdvaneReports", true}, Case{"DralInputOutput", "_DralInputOutput", true},
        Case{"OrdvaneSummary", "_OrdvaneSummary", false},
        Case{"OrdvaneEnumerations", "_OrdvaneEnumerations", false}}) {
    const ComPtr<ITypeInfo> info = type(c.name);
    ASSERT_TRUE(info);
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> implemented;
    info->GetRefTypeOfImplType(0, &reference);
    info->GetRefTypeInfo(reference, implemented.receive());
    EXPECT_EQ(name_of(*implemented.get(), MEMBERID_NIL), c.interface_name);
    TYPEATTR* attributes = nullptr;
    info->GetTypeAttr(&attributes);
    EXPECT_EQ((attributes->wTypeFlags & TYPEFLAG_FCANCREATE) != 0, c.creatable) << c.name;
    info->ReleaseTypeAttr(attributes);
  }
}

}  // namespace
}  // namespace ordvane::test
