// CJetEngineOps: the field data codec. The host works with field values as
// text; an empty text means Null unless the column is a key.

#include <array>
#include <string>

#include "dbcontract/DaoConstants.h"
#include "foundation/CAx0.h"
#include "model/CJetEngineOps.h"
#include "runtime/Conversions.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

// A number or date key can't be Null; this stands for "no value" there.
constexpr std::int16_t kNullKey = -32768;

// Server columns that DAO can't map report this size when they are long
// text.
constexpr std::int32_t kLongTextSize = 0x7FFFFFFE;

constexpr std::string_view kLineBreakToken = "<<CR>>";

bool IsSystemColumn(std::string_view name) {
    static constexpr std::array<std::string_view, 5> kSystemColumns = {"VORNPROJECTID", "VORNRECID", "VORNSEQUENCE",
                                                                        "VORNPOINTSORT", "VORNUPDATED"};
    const std::string upper = utf8::ToUpper(name);
    for (std::string_view system : kSystemColumns) {
        if (upper == system) return true;
    }
    return false;
}

// Text fields hold one line, so a break is written as a token; memo fields
// hold real breaks, as CR LF.
void NormaliseLineBreaks(std::string& data, std::int16_t type) {
    if (data.find('\n') == std::string::npos) return;
    if (type == dao::dbMemo) {
        // A text with one CR LF pair is taken as already in form, even if it
        // has bare line feeds as well.
        if (data.find("\r\n") == std::string::npos) data = utf8::Replace(data, "\n", "\r\n");
    } else if (type == dao::dbText) {
        data = utf8::Replace(data, "\r\n", kLineBreakToken);
        data = utf8::Replace(data, "\n", kLineBreakToken);
    }
}

}  // namespace

void CJetEngineOps::FieldDataWrite(std::string& psData, Field& pfldSaveto, bool pbVornUpdate, bool pbNullKey,
                                   bool pbEnterprise) {
    const std::int16_t type = DaoDataTypeFromODBC(pfldSaveto);
    if (type == dao::dbBoolean) {
        pfldSaveto.SetValue(Ax().CVBoolFnB(psData));
    } else if (type >= dao::dbByte && type <= dao::dbDouble) {
        if (!psData.empty()) {
            pfldSaveto.SetValue(psData);
        } else if (pbNullKey) {
            pfldSaveto.SetValue(kNullKey);
        } else if (!pfldSaveto.Value().IsNull()) {
            // An untouched Null is not written again: that spares an edit.
            pfldSaveto.SetValue(Variant::Null());
        }
    } else if (type == dao::dbDate) {
        if (pfldSaveto.Name() == "VornUpdated" && pbVornUpdate) {
            pfldSaveto.SetValue(Ax().VornNowDate());
        } else if (!psData.empty()) {
            pfldSaveto.SetValue(Ax().VornFullDateFnS(psData));
        } else if (pbNullKey) {
            pfldSaveto.SetValue(kNullKey);
        } else {
            pfldSaveto.SetValue(Variant::Null());
        }
    } else {
        Ax().ConvertRichText(psData);
        NormaliseLineBreaks(psData, type);
        // An enterprise database and a key keep "" as "": only a project
        // file's field that refuses zero length takes Null for it.
        if (pfldSaveto.AllowZeroLength() || !psData.empty() || pbNullKey || pbEnterprise) {
            pfldSaveto.SetValue(psData);
        } else {
            pfldSaveto.SetValue(Variant::Null());
        }
    }
}

std::string CJetEngineOps::FieldDataToStringFnS(Field& poFld) {
    const Variant value = poFld.Value();
    if (value.IsNull()) return {};
    if (poFld.Type() == dao::dbBoolean) return CBool(value) ? "-1" : "0";
    return CStr(value);
}

void CJetEngineOps::ClearAllFieldValues(Recordset* prsRecordset, bool pbEnterprise) {
    if (prsRecordset == nullptr) return;
    for (const auto& field : prsRecordset->Fields()) {
        if (IsSystemColumn(field->Name())) continue;
        std::string empty;
        FieldDataWrite(empty, *field, false, false, pbEnterprise);
    }
}

std::string CJetEngineOps::DefaultValueStoreFnS(std::string_view psValue) const {
    if (IsNumeric(Variant(psValue))) return std::string(psValue);
    return "\"" + utf8::Replace(psValue, "\"", "\"\"") + "\"";
}

std::int16_t CJetEngineOps::DataTypeFnI(DaoCollection<Field>& pobjFields, std::string_view psFieldName) {
    const std::size_t dot = psFieldName.find('.');
    const std::string_view name = utf8::Trim(dot == std::string_view::npos ? psFieldName : psFieldName.substr(dot + 1));
    return ConvertVARCHARFnI(pobjFields.Item(name)->Type());
}

std::string CJetEngineOps::DataTypeDelimFnS(std::int16_t piDbType, std::string* psDelimiterFunction) const {
    if (piDbType == dao::dbDate) {
        if (psDelimiterFunction != nullptr) *psDelimiterFunction = "SQLWHEREVALUEDATE";
        return "#";
    }
    if (piDbType > dao::dbDate || piDbType < 0) {
        if (psDelimiterFunction != nullptr) *psDelimiterFunction = "SQLWHEREVALUETEXT";
        return "'";
    }
    return {};
}

std::int16_t CJetEngineOps::ConvertVARCHARFnI(std::int16_t piType) const {
    return piType < 0 || piType > dao::dbCounter ? dao::dbText : piType;
}

std::int16_t CJetEngineOps::DaoDataTypeFromODBC(const Field& poDAOField) const {
    const std::int16_t type = poDAOField.Type();
    if (type >= 1 && type < dao::dbTimeStamp) return type;
    return poDAOField.Size() == kLongTextSize ? dao::dbMemo : dao::dbText;
}

std::string CJetEngineOps::TypeString(std::int32_t piType) {
    if (typeStrings_.empty()) {
        typeStrings_.resize(dao::dbCounter + 1);
        typeStrings_[dao::dbBoolean] = "BIT";
        typeStrings_[dao::dbByte] = "TINYINT";
        typeStrings_[dao::dbInteger] = "SHORT";
        typeStrings_[dao::dbLong] = "LONG";
        typeStrings_[dao::dbCurrency] = "CURRENCY";
        typeStrings_[dao::dbSingle] = "SINGLE";
        typeStrings_[dao::dbDouble] = "DOUBLE";
        typeStrings_[dao::dbDate] = "DATETIME";
        typeStrings_[dao::dbText] = "TEXT (255)";
        typeStrings_[dao::dbLongBinary] = "LONGBINARY";
        typeStrings_[dao::dbMemo] = "MEMO";
        typeStrings_[dao::dbCounter] = "COUNTER";
    }
    const std::int16_t code =
        piType < 0 || piType > dao::dbCounter ? dao::dbText : ConvertVARCHARFnI(static_cast<std::int16_t>(piType));
    // The blank belongs to the result: the text goes straight behind a
    // column name.
    return " " + typeStrings_[static_cast<std::size_t>(code)];
}

}  // namespace vorn
