#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/model_fixtures.h"
#include "timeline/placement_list.h"
#include "timeline/playlist.h"
#include "timeline/tractor.h"

namespace {

std::shared_ptr<MePlayList> placement(const std::string& id) {
    auto made = std::make_shared<MePlayList>();
    EXPECT_TRUE(made->initFromJsonText(R"({"ID":")" + id + R"("})"));
    return made;
}

std::string idsOf(const PlacementList& list) {
    std::string ids;
    for (const auto& held : list) {
        ids += held->id() + " ";
    }
    return ids;
}

// Inserting and removing anywhere keeps the index and the identifier lookups
// in step with the order; a repeated identifier finds the first in order.
TEST(PlacementList, IndexAndIdentifierLookupsFollowEveryChange) {
    PlacementList list;
    struct Step {
        const char* what;
        std::function<bool()> run;
        const char* order;
    };
    const Step steps[] = {
        {"append a", [&] { return list.insert(-1, placement("a")); }, "a "},
        {"append b", [&] { return list.insert(1, placement("b")); }, "a b "},
        {"front c", [&] { return list.insert(0, placement("c")); }, "c a b "},
        {"middle a again", [&] { return list.insert(2, placement("a")); }, "c a a b "},
        {"past the end", [&] { return !list.insert(5, placement("x")); }, "c a a b "},
        {"below -1", [&] { return !list.insert(-2, placement("x")); }, "c a a b "},
        {"remove first a", [&] { return list.removeAt(1); }, "c a b "},
        {"remove past the end", [&] { return !list.removeAt(3); }, "c a b "},
        {"remove front", [&] { return list.removeAt(0); }, "a b "},
    };
    for (const Step& step : steps) {
        ASSERT_TRUE(step.run()) << step.what;
        ASSERT_EQ(idsOf(list), step.order) << step.what;
        for (size_t index = 0; index < list.size(); ++index) {
            const auto held = list.at(static_cast<int>(index));
            EXPECT_EQ(list.find(held->id()), list.at(list.indexOf(held->id()))) << step.what;
            EXPECT_LE(list.indexOf(held->id()), static_cast<int>(index)) << step.what;
        }
    }
    EXPECT_EQ(list.find("x"), nullptr);
    EXPECT_EQ(list.indexOf("x"), -1);
    EXPECT_EQ(list.at(-1), nullptr);
    EXPECT_EQ(list.at(2), nullptr);
}

TEST(PlacementList, DuplicateIdentifiersFindTheFirstInTrackOrder) {
    PlacementList list;
    auto first = placement("d");
    auto second = placement("d");
    list.append(placement("e"));
    list.append(first);
    list.append(second);
    EXPECT_EQ(list.find("d"), first);
    EXPECT_EQ(list.indexOf("d"), 1);
    ASSERT_TRUE(list.removeAt(1));
    EXPECT_EQ(list.find("d"), second);
    EXPECT_EQ(list.indexOf("d"), 1);
}

// A track refilling a placement with a new identifier files it anew.
TEST(PlacementList, TrackRefilledPlacementIsFoundByItsNewIdentifier) {
    modeltest::loadTestCatalogue();
    MeTractor track;
    CParseJson init = modeltest::json(R"({"ID":"V","Type":"composite"})");
    ASSERT_TRUE(track.initFromJson(init));
    for (const char* id : {"p0", "p1", "p2"}) {
        CParseJson add = modeltest::json(std::string(R"({"ID":")") + id + R"(","Index":-1})");
        ASSERT_TRUE(track.addClip(add, std::string(id) + "_p"));
    }
    CParseJson refill =
        modeltest::json(R"({"ID":"n1","TrackID":"V","IndexOld":1,"IndexNew":1,"In":"3"})");
    ASSERT_TRUE(track.alterClip(refill, "n1_p"));
    EXPECT_EQ(track.findPlacement("p1"), nullptr);
    ASSERT_NE(track.findPlacement("n1"), nullptr);
    EXPECT_EQ(track.indexOf("n1"), 1);
    CParseJson move =
        modeltest::json(R"({"ID":"m","TrackID":"V","IndexOld":1,"IndexNew":0,"In":"4"})");
    ASSERT_TRUE(track.alterClip(move, "m_p"));
    EXPECT_EQ(track.indexOf("m"), 0);
    EXPECT_EQ(track.indexOf("n1"), -1);
    track.removeClip("m");
    EXPECT_EQ(track.mediaIds(), (std::vector<std::string>{"p0_p", "p2_p"}));
}

// On a long main track every cut carries a transition: each is laid out
// from its own neighbours, however many come before it.
TEST(MainTrack, LongTrackLaysOutEveryTransitionFromItsOwnNeighbours) {
    modeltest::loadTestCatalogue();
    MeTractor track;
    CParseJson init = modeltest::json(R"({"ID":"Track0","Type":"composite","Main":true})");
    ASSERT_TRUE(track.initFromJson(init));
    constexpr int kPlacements = 300;
    constexpr int kLength = 100;
    for (int n = 0; n < kPlacements; ++n) {
        const std::string id = "p" + std::to_string(n);
        CParseJson add =
            modeltest::json(R"({"ID":")" + id + R"(","In":"0","Out":"99","Index":-1})");
        ASSERT_TRUE(track.addClip(add, id + "_p"));
        if (n > 0) {
            CParseJson transition = modeltest::json(
                R"({"ID":"x)" + std::to_string(n) + R"(","Title":"t_dissolve","In":"10","Out":"15",
                "TrackID_A":"Track0","TrackID_B":"Track0","Index_A":)" +
                std::to_string(n - 1) + R"(,"Index_B":)" + std::to_string(n) + "}");
            ASSERT_TRUE(track.addTransition(transition));
        }
    }
    const std::string written = modeltest::xmlOf([&](xmlNodePtr root) { track.writeMltXml(root); });
    for (int n = 1; n < kPlacements; ++n) {
        const int cut = n * kLength;
        const std::string transition =
            "<transition id=\"x" + std::to_string(n) + "\" title=\"t_dissolve\" in=\"" +
            std::to_string(cut - 10) + "\" out=\"" + std::to_string(cut + 14) + "\">\n" +
            "    <property name=\"a_track\">" + std::to_string(n - 1) +
            "</property>\n    <property name=\"b_track\">" + std::to_string(n) + "</property>";
        ASSERT_NE(written.find(transition), std::string::npos) << transition;
        const std::string playlist = "<playlist id=\"p" + std::to_string(n) +
                                     "\">\n  <blank length=\"" + std::to_string(cut - 10) + "\"/>";
        ASSERT_NE(written.find(playlist), std::string::npos) << playlist;
    }
}

}  // namespace
