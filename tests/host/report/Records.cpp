#include "host/report/Records.h"

#include <raw_mend/raw_mend.h>

namespace test {

using namespace plate_mend::host;

Record full_record() {
    Attempt first;
    first.sample = "samples/other.arw";
    first.why = "same camera, date nearest";
    first.code = -1126;
    first.engine = kExactEngine;
    Attempt second;
    second.sample = "samples/good.arw";
    second.why = "same camera, size nearest";
    second.code = 0;
    second.judgement = {.decodes = true,
                        .width = 3872,
                        .height = 2592,
                        .data_errors = 1,
                        .rows_good = 0.75,
                        .pixels_good = 0.7459,
                        .findings = {"the lower 648 rows are black", "one data error"},
                        .camera = "Sony DSLR-A330",
                        .taken = "2026-05-01 12:30:00",
                        .place = PicturePlace{.sensor_width = 3880,
                                              .sensor_height = 2600,
                                              .left = 4,
                                              .top = 4,
                                              .width = 3872,
                                              .height = 2592,
                                              .turn = 0,
                                              .pixel_aspect = 1}};
    second.taken = true;
    second.engine = kRawEngine;
    second.pictures_rendered = 3;
    second.image = {.way = RAW_MEND_WAY_ROWS,
                    .notes = RAW_MEND_SAMPLE_METADATA | RAW_MEND_PIECES_LOST,
                    .pieces = 67,
                    .pieces_found = 66,
                    .pieces_proved = 65,
                    .offset = 59642,
                    .pieces_mended = 2,
                    .frame_width = 3880,
                    .frame_height = 2600,
                    .pixels = 10088000,
                    .pixels_lost = 40352,
                    .pixels_doubtful = 7,
                    .filled = false,
                    .lost = {{4, 104, 3880, 10}, {0, 0, 1552, 1}},
                    .doubtful = {{1, 2, 7, 1}}};
    Attempt third;
    third.sample = "samples/third.arw";
    third.why = "another camera";
    third.problem = "crashed";
    Record record;
    record.damaged = {"broken/IMG_0042.arw", 9571748, std::string(64, 'a')};
    record.verdict = Verdict::kPartial;
    record.problem = "";
    record.unreadable = {{512, 1024}, {4096, 512}};
    record.zeros_left_out = 65536;
    record.attempts = {first, second, third};
    record.salvage = {.code = -5,
                      .problem = "slow",
                      .width = 160,
                      .height = 120,
                      .blocks = 80,
                      .blocks_own = 79,
                      .blocks_coarse = 3,
                      .blocks_guessed = 2,
                      .first_bad_byte = 4711,
                      .warnings = 65};
    record.raw = FileIdentity{"out/IMG_0042.repaired.arw", 9571740, std::string(64, 'b')};
    record.jpeg = FileIdentity{"out/IMG_0042.salvaged.jpg", 4321, std::string(64, 'c')};
    record.mask = FileIdentity{"out/IMG_0042.mask.png", 321, std::string(64, 'd')};
    record.sidecar = FileIdentity{"out/IMG_0042.repaired.xmp", 123, std::string(64, 'e')};
    record.metadata = OwnMetadata{.facts = {{CameraFact::kTaken, "2026-05-01T12:30:00"},
                                            {CameraFact::kIso, "400"},
                                            {CameraFact::kGpsTime, "2026-05-01T10:30:00Z"}},
                                  .source = "preview",
                                  .offset = 4711,
                                  .in_result = false};
    record.seconds = 1.25;
    return record;
}

Record small_record(const std::string& path, Verdict verdict) {
    Record record;
    record.damaged = {path, 1000, ""};
    record.verdict = verdict;
    return record;
}

} // namespace test
