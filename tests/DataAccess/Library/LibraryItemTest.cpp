#include "DataAccess/Library/ClipTestSupport.h"

using namespace qmtest;

TEST_F(ClipTest, NewClipSavesTheCurrentLayout)
{
    const auto item = Clip("clip.mp4");
    ASSERT_TRUE(item);
    EXPECT_EQ(item->get_Name(), u"clip");
    EXPECT_EQ(item->Save(), S_OK);
    EXPECT_EQ(WithoutIds(ReadFile(Sidecar("clip.mp4"))),
              "<LIBRARY_ITEM><NAME>clip.mp4</NAME><ID>{ID}</ID><VERSION subversion=\"1\">2.0</VERSION>"
              "<THUMBNAIL_INDEX>0</THUMBNAIL_INDEX><TYPE>1</TYPE></LIBRARY_ITEM>");
}
