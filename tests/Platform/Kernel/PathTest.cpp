#include "Platform/Kernel/Path.h"

#include "Support/FaultInjectingFileSystem.h"
#include "Platform/Kernel/LinuxFileSystem.h"

#include <gtest/gtest.h>

TEST(Path, RelativeAndAbsolute)
{
    EXPECT_FALSE(PathIsRelativeW(u"/media/clip.mp4"));
    EXPECT_TRUE(PathIsRelativeW(u"clips/a.mp4"));
    EXPECT_TRUE(PathIsRelativeW(u"./a.mp4"));
    EXPECT_TRUE(PathIsRelativeW(u"../a.mp4"));
    EXPECT_FALSE(PathIsRelativeW(u"D:\\clips\\a.mp4"));
    EXPECT_FALSE(PathIsRelativeW(u"\\\\server\\share\\a.mp4"));
    EXPECT_TRUE(PathIsRelativeW(u""));
}

TEST(Path, CombineFoldsDotsAndNeverClimbsAboveRoot)
{
    EXPECT_EQ(u"/a/b/c.mp4", PathCombineW(u"/a/b", u"c.mp4"));
    EXPECT_EQ(u"/a/c.mp4", PathCombineW(u"/a/b/", u"../c.mp4"));
    EXPECT_EQ(u"/a/b/c.mp4", PathCombineW(u"/a/b", u"./c.mp4"));
    EXPECT_EQ(u"/c.mp4", PathCombineW(u"/a", u"../../../c.mp4"));
    EXPECT_EQ(u"/x/y", PathCombineW(u"/a", u"/x/./z/../y"));
    EXPECT_EQ(u"/a/sub\\c.mp4", PathCombineW(u"/a", u"sub\\c.mp4"));
    EXPECT_EQ(u"D:\\clips\\a.mp4", PathCombineW(u"/a", u"D:\\clips\\a.mp4"));
    EXPECT_EQ(u"../b", PathCombineW(u"a", u"../../b"));
    std::u16string path = u"/a";
    EXPECT_TRUE(PathAppendW(path, u"b/../c"));
    EXPECT_EQ(u"/a/c", path);
}

TEST(Path, RemoveFileSpecAndNameParts)
{
    std::u16string path = u"/a/b/c.mp4";
    EXPECT_TRUE(PathRemoveFileSpecW(path));
    EXPECT_EQ(u"/a/b", path);
    path = u"/a";
    EXPECT_TRUE(PathRemoveFileSpecW(path));
    EXPECT_EQ(u"/", path);
    EXPECT_FALSE(PathRemoveFileSpecW(path));
    path = u"name";
    EXPECT_TRUE(PathRemoveFileSpecW(path));
    EXPECT_EQ(u"", path);

    EXPECT_EQ(u"c.tar.gz", PathFindFileNameW(u"/a/b/c.tar.gz"));
    EXPECT_EQ(u"b\\c.mp4", PathFindFileNameW(u"/a/b\\c.mp4"));
    EXPECT_EQ(u".gz", PathFindExtensionW(u"/a/b/c.tar.gz"));
    EXPECT_EQ(u"", PathFindExtensionW(u"/a.dir/noext"));
    path = u"/a/clip.mp4";
    PathRemoveExtensionW(path);
    EXPECT_EQ(u"/a/clip", path);
    EXPECT_TRUE(PathAddExtensionW(path, u".quilclip"));
    EXPECT_FALSE(PathAddExtensionW(path, u".x"));
    EXPECT_TRUE(PathRenameExtensionW(path, u".backup"));
    EXPECT_EQ(u"/a/clip.backup", path);
    path = u"\"/a b/c\"";
    EXPECT_TRUE(PathUnquoteSpacesW(path));
    EXPECT_EQ(u"/a b/c", path);
    EXPECT_FALSE(PathUnquoteSpacesW(path));
}

TEST(Path, RelativePaths)
{
    std::u16string relative;
    ASSERT_TRUE(PathRelativePathToW(relative, u"/lib/clips/game.quilclip", false, u"/lib/clips/audio/a.wav", false));
    EXPECT_EQ(u"./audio/a.wav", relative);
    ASSERT_TRUE(PathRelativePathToW(relative, u"/lib/clips", true, u"/lib/other/a.mp4", false));
    EXPECT_EQ(u"../other/a.mp4", relative);
    ASSERT_TRUE(PathRelativePathToW(relative, u"/lib/a/b/x.mp4", false, u"/c.mp4", false));
    EXPECT_EQ(u"../../../c.mp4", relative);
    ASSERT_TRUE(PathRelativePathToW(relative, u"/lib/x/../clips/", true, u"/lib/clips/a.mp4", false));
    EXPECT_EQ(u"./a.mp4", relative);
    EXPECT_FALSE(PathRelativePathToW(relative, u"lib", true, u"/x", false));
    // Read back from a file, the relative path leads to the same place.
    EXPECT_EQ(u"/lib/other/a.mp4", PathCombineW(u"/lib/clips", qm::PathFromFile(u"..\\other\\a.mp4")));
}

TEST(Path, PrefixUrlAndSameRoot)
{
    EXPECT_TRUE(PathIsPrefixW(u"/a/b", u"/a/b/c"));
    EXPECT_TRUE(PathIsPrefixW(u"/a/b/", u"/a/b"));
    EXPECT_FALSE(PathIsPrefixW(u"/a/b", u"/a/bc"));
    EXPECT_FALSE(PathIsPrefixW(u"a", u"/a"));
    EXPECT_FALSE(PathIsPrefixW(u"/", u""));
    EXPECT_FALSE(PathIsPrefixW(u"/a\\b", u"/a/b/c"));
    EXPECT_TRUE(PathIsURLW(u"file:///a/b"));
    EXPECT_TRUE(PathIsURLW(u"https://example.org/x"));
    EXPECT_FALSE(PathIsURLW(u"D:\\x"));
    EXPECT_FALSE(PathIsURLW(u"/a:b"));

    qm::FaultInjectingFileSystem fileSystem(qm::LinuxFileSystem::Instance());
    qm::ScopedFileSystem scope(fileSystem);
    fileSystem.SetDevice(u"/mnt/one", 1);
    fileSystem.SetDevice(u"/mnt/one/nested", 2);
    fileSystem.SetDevice(u"/mnt/two", 1);
    EXPECT_TRUE(PathIsSameRootW(u"/mnt/one/a.mp4", u"/mnt/two/b.mp4"));
    EXPECT_FALSE(PathIsSameRootW(u"/mnt/one/a.mp4", u"/mnt/one/nested/b.mp4"));
}

TEST(Path, BackslashIsPartOfANameUnlessReadFromAFile)
{
    std::u16string path = u"/clips/a\\b.mp4";
    EXPECT_EQ(u"a\\b.mp4", PathFindFileNameW(path));
    EXPECT_TRUE(PathRemoveFileSpecW(path));
    EXPECT_EQ(u"/clips", path);
    EXPECT_TRUE(PathIsRelativeW(u"\\a.mp4"));
    EXPECT_EQ(u"/clips/..\\a.mp4", PathCombineW(u"/clips", u"..\\a.mp4"));

    // Written on Windows: backslashes separate; an absolute path stays as it stands.
    EXPECT_EQ(u"../other/a.mp4", qm::PathFromFile(u"..\\other\\a.mp4"));
    EXPECT_EQ(u"D:\\clips\\a.mp4", qm::PathFromFile(u"D:\\clips\\a.mp4"));
    EXPECT_EQ(u"\\\\server\\share\\a.mp4", qm::PathFromFile(u"\\\\server\\share\\a.mp4"));
    // Written here, in POSIX form: a backslash belongs to the file name.
    EXPECT_EQ(u"./a\\b.mp4", qm::PathFromFile(u"./a\\b.mp4"));
    EXPECT_EQ(u"/media/a\\b.mp4", qm::PathFromFile(u"/media/a\\b.mp4"));
}

TEST(PathLiesInside, ComparesWholeComponentsOfNormalPaths)
{
    EXPECT_TRUE(qm::PathLiesInside(u"/a/b", u"/a/b"));
    EXPECT_TRUE(qm::PathLiesInside(u"/a/b/c.mp4", u"/a/b"));
    EXPECT_TRUE(qm::PathLiesInside(u"/a//b/./c", u"/a/b/"));
    EXPECT_TRUE(qm::PathLiesInside(u"/a/x/../b/c", u"/a/b"));
    EXPECT_FALSE(qm::PathLiesInside(u"/a/bc", u"/a/b"));
    EXPECT_FALSE(qm::PathLiesInside(u"/a", u"/a/b"));
    EXPECT_FALSE(qm::PathLiesInside(u"/A/b", u"/a"));
    EXPECT_FALSE(qm::PathLiesInside(u"", u"/a"));
    EXPECT_TRUE(qm::PathLiesInside(u"/anything", u"/"));
}

TEST(PathLiesInside, MakesRelativePathsAbsoluteAgainstTheWorkingFolder)
{
    const wstring here = qm::AbsoluteNormalPath(u".");
    EXPECT_FALSE(PathIsRelativeW(here));
    EXPECT_TRUE(qm::PathLiesInside(u"sub/file", here));
    EXPECT_TRUE(qm::PathLiesInside(here + u"/x", u"."));
}
