// The contract's records as the C compiler lays them out must match the documented 64-bit table,
// field for field, and the C++ view of the same header.
#include <gtest/gtest.h>

#include "visual/TunivoxVisPlugin.h"

extern "C" const size_t kContractLayoutC[];
extern "C" const size_t kContractLayoutCCount;

TEST(ContractLayout, CAndCppAgreeWithTheDocumentedOffsets)
{
    // header: version, description, getModule, size; module: the fields from 0 to 128.
    const size_t documented[] = {0, 8, 16, 24, 0, 8, 16, 24, 32, 40, 48, 56, 64, 72, 76, 80, 88, 96, 104, 108, 112,
                                 120, 124, 128};
    ASSERT_EQ(kContractLayoutCCount, std::size(documented));
    for (size_t i = 0; i < std::size(documented); ++i)
        EXPECT_EQ(kContractLayoutC[i], documented[i]) << "field " << i;
    EXPECT_EQ(offsetof(tMP3VisModule, fFPS), kContractLayoutC[23]);
    EXPECT_GE(sizeof(tMP3VisModule), 132u);
}
