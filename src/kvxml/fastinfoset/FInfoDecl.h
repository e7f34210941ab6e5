#pragma once

#include <cstdint>

namespace KvXmlLib16 {

// The XML declaration (encoding 'finf') put in front of a Fast Infoset document; 0 puts none.
enum FInfoDecl : int32_t {
    FInfoDecl_None = 0,
    FInfoDecl_Enc = 1,
    FInfoDecl_Enc_StandaloneYes = 2,
    FInfoDecl_Enc_StandaloneNo = 3,
    FInfoDecl_V10_Enc = 4,
    FInfoDecl_V10_Enc_StandaloneYes = 5,
    FInfoDecl_V10_Enc_StandaloneNo = 6,
    FInfoDecl_V11_Enc = 7,
    FInfoDecl_V11_Enc_StandaloneYes = 8,
    FInfoDecl_V11_Enc_StandaloneNo = 9,
};

} // namespace KvXmlLib16
