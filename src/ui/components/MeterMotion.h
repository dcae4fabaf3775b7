#pragma once

namespace tavrin {

/// How a level meter moves: up at once, down by 12 dB a second, with a mark that holds the highest level for 600 ms and
/// then falls alike. Pure arithmetic on times in seconds that its user brings; they never run backwards.
class MeterMotion final {
public:
    /// A level of 0 to 1 came; anything else is held at the nearer end.
    void set(float newLevel, double now);
    /// Moves on to `now`.
    void advance(double now);

    [[nodiscard]] float level() const { return shown; }
    [[nodiscard]] float peak() const { return mark; }
    /// Nothing changes until the next level: no need to draw again.
    [[nodiscard]] bool isStill() const { return shown <= target && mark <= shown; }

private:
    float target = 0;
    float shown = 0;
    float mark = 0;
    double markSetAt = 0;
    double at = 0;
};

} // namespace tavrin
