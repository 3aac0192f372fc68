extern "C" int orvelTestAnswer();

extern "C" int orvelTestAnswer() {
    return 42;
}
