#include "tests/geometry/quad_cases.h"

#include "geometry/rounded_trig.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace tarvix::test {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

double uniform(std::mt19937_64& random, double from, double to) {
    // Not std::uniform_real_distribution: its sequence differs between standard libraries.
    const double unit = static_cast<double>(random() >> 11) * 0x1.0p-53;
    return from + unit * (to - from);
}

// Between two whole powers of ten. Not std::pow, whose last place differs between C libraries.
double powerOfTen(std::mt19937_64& random, int from, int to) {
    double value = uniform(random, 1.0, 10.0);
    for (int i = from + static_cast<int>(random() % static_cast<unsigned>(to - from)); i < 0; ++i) {
        value /= 10.0;
    }
    return value;
}

template <class T, std::size_t N>
T pick(std::mt19937_64& random, const T (&values)[N]) {
    return values[random() % N];
}

bool inside(const MarkedQuad& quad) {
    return std::all_of(quad.corners.begin(), quad.corners.end(), [&](const cv::Point2d& p) {
        return p.x >= 0.0 && p.y >= 0.0 && p.x < quad.image.width && p.y < quad.image.height;
    });
}

cv::Point2d randomPoint(std::mt19937_64& random, cv::Size size) {
    return {uniform(random, -0.1, 1.1) * size.width, uniform(random, -0.1, 1.1) * size.height};
}

// Four points on an ellipse in order: convex.
Corners randomConvex(std::mt19937_64& random, cv::Size size) {
    double angle[4];
    for (double& a : angle) {
        a = uniform(random, 0.0, 6.28);
    }
    std::sort(std::begin(angle), std::end(angle));
    const cv::Point2d centre = randomPoint(random, size);
    const double rx = uniform(random, 0.05, 0.7) * size.width;
    const double ry = uniform(random, 0.05, 0.7) * size.height;
    Corners corners;
    for (std::size_t i = 0; i < 4; ++i) {
        const SineCosine a = roundedSineCosine(angle[i]);
        corners[i] = {centre.x + rx * a.cosine, centre.y + ry * a.sine};
    }
    return corners;
}

// The kinds of hostileCases(). Each draws what it needs into a case whose size of the image and
// focal length are set already.

void facade(std::mt19937_64& random, QuadCase& c) {
    c.quad = randomFacade(random);
    c.focalMm = random() % 2 == 0 ? 0.0 : uniform(random, 18.0, 45.0);
}

void facadeInExtremePose(std::mt19937_64& random, QuadCase& c) {
    SimulatedView view;
    view.image = c.quad.image;
    view.pitchDeg = uniform(random, -65.0, 65.0);
    view.yawDeg = uniform(random, -65.0, 65.0);
    view.rollDeg = uniform(random, -60.0, 60.0);
    view.focalMm = uniform(random, 2.0, 60.0);
    view.width = uniform(random, 0.01, 2.0);
    view.height = uniform(random, 0.01, 2.0);
    c.quad = photograph(view);
    c.focalMm = random() % 2 == 0 ? 0.0 : 35.0;
}

void convex(std::mt19937_64& random, QuadCase& c) {
    c.quad.corners = randomConvex(random, c.quad.image);
}

void anyFourPoints(std::mt19937_64& random, QuadCase& c) {
    for (cv::Point2d& q : c.quad.corners) {
        q = randomPoint(random, c.quad.image);
    }
}

void selfCrossing(std::mt19937_64& random, QuadCase& c) {
    convex(random, c);
    std::swap(c.quad.corners[1], c.quad.corners[2]);
}

void reversedWinding(std::mt19937_64& random, QuadCase& c) {
    c.quad = randomFacade(random);
    std::swap(c.quad.corners[1], c.quad.corners[3]);
}

void onALineInWholeSteps(std::mt19937_64& random, QuadCase& c) {
    // Compilers differ in the order in which they evaluate the arguments of one call.
    const auto below = [&](std::uint64_t end) { return static_cast<double>(random() % end); };
    cv::Point2d origin;
    cv::Point2d step;
    origin.y = below(100);
    origin.x = below(100);
    step.y = below(9);
    step.x = below(9);
    for (cv::Point2d& q : c.quad.corners) {
        q = origin + step * static_cast<double>(random() % 12);
    }
}

void onALineInFractions(std::mt19937_64& random, QuadCase& c) {
    const cv::Point2d a = randomPoint(random, c.quad.image);
    const cv::Point2d b = randomPoint(random, c.quad.image);
    for (cv::Point2d& q : c.quad.corners) {
        q = a + (b - a) * uniform(random, 0.0, 1.0);
    }
}

void repeatedPoints(std::mt19937_64& random, QuadCase& c) {
    convex(random, c);
    Corners& p = c.quad.corners;
    p[random() % 4] = p[random() % 4];
    if (random() % 2 == 0) {
        p[random() % 4] = p[random() % 4];
    }
    if (random() % 8 == 0) {
        p.fill(p[0]);
    }
}

void selfCrossingOfNoArea(std::mt19937_64& random, QuadCase& c) {
    const double w = uniform(random, 0.1, 0.9) * c.quad.image.width;
    const double h = uniform(random, 0.1, 0.9) * c.quad.image.height;
    c.quad.corners = {cv::Point2d(0, 0), cv::Point2d(w, h), cv::Point2d(w, 0), cv::Point2d(0, h)};
}

void anExtremeCoordinate(std::mt19937_64& random, QuadCase& c) {
    const double extremes[] = {0.0,    -0.0,  1e-300, 5e-324, 1e15,  1e20,     1e100,
                               -1e100, 1e154, 1e155,  1e200,  1e300, 1e308,    -1e308,
                               1e38,   4e38,  -1e12,  1e10,   nan,   infinity, -infinity};
    convex(random, c);
    Corners& p = c.quad.corners;
    for (std::uint64_t n = random() % 3 + 1; n > 0; --n) {
        (random() % 2 == 0 ? p[random() % 4].x : p[random() % 4].y) = pick(random, extremes);
    }
}

void allScaled(std::mt19937_64& random, QuadCase& c) {
    const double units[] = {1e-320, 1e-200, 1e-30, 1e-16, 1e-8, 1e-3,  1e3,
                            1e7,    1e12,   1e18,  1e30,  1e77, 1e150, 1e305};
    c.quad.corners = randomConvex(random, cv::Size(1, 1));
    const double unit = pick(random, units);
    for (cv::Point2d& q : c.quad.corners) {
        q *= unit;
        if (random() % 2 == 0) {
            q += cv::Point2d(c.quad.image.width * 0.5, c.quad.image.height * 0.5);
        }
    }
}

void sliver(std::mt19937_64& random, QuadCase& c) {
    convex(random, c);
    const double height = c.quad.image.height;
    const double thin = powerOfTen(random, -17, -1);
    for (cv::Point2d& q : c.quad.corners) {
        q.y = height * uniform(random, 0.49, 0.51) + (q.y - height * 0.5) * thin;
    }
}

// Upright, its half width w and half height h around the centre m.
Corners rectangleAround(const cv::Point2d& m, double w, double h) {
    return {cv::Point2d(m.x - w, m.y - h), cv::Point2d(m.x + w, m.y - h),
            cv::Point2d(m.x + w, m.y + h), cv::Point2d(m.x - w, m.y + h)};
}

void rectangle(std::mt19937_64& random, QuadCase& c) {
    const cv::Size size = c.quad.image;
    const double w = std::floor(uniform(random, 0.1, 0.5) * size.width);
    const double h = std::floor(uniform(random, 0.1, 0.5) * size.height);
    const double x = random() % 2 == 0 ? 0.0 : std::floor(uniform(random, -w, w));
    const double y = random() % 2 == 0 ? 0.0 : std::floor(uniform(random, -h, h));
    c.quad.corners = rectangleAround({size.width * 0.5 + x, size.height * 0.5 + y}, w, h);
}

void nearRectangle(std::mt19937_64& random, QuadCase& c) {
    const cv::Size size = c.quad.image;
    const double shake = powerOfTen(random, -15, -1) * size.width;
    c.quad.corners =
        rectangleAround({size.width * 0.5, size.height * 0.5}, 0.3 * size.width, 0.3 * size.height);
    for (cv::Point2d& q : c.quad.corners) {
        q.x += uniform(random, -shake, shake);
        q.y += uniform(random, -shake, shake);
    }
}

void concave(std::mt19937_64& random, QuadCase& c) {
    convex(random, c);
    Corners& p = c.quad.corners;
    p[random() % 4] = (p[0] + p[1] + p[2] + p[3]) * 0.25 +
                      cv::Point2d(uniform(random, -0.05, 0.05) * c.quad.image.width, 0.0);
}

struct Kind {
    const char* name;
    void (*draw)(std::mt19937_64&, QuadCase&);
};

constexpr Kind kinds[] = {{"facade", facade},
                          {"facade, extreme pose", facadeInExtremePose},
                          {"convex", convex},
                          {"any four points", anyFourPoints},
                          {"self-crossing", selfCrossing},
                          {"reversed winding", reversedWinding},
                          {"on a line, whole steps", onALineInWholeSteps},
                          {"on a line, fractions", onALineInFractions},
                          {"repeated points", repeatedPoints},
                          {"zero area, self-crossing", selfCrossingOfNoArea},
                          {"an extreme coordinate", anExtremeCoordinate},
                          {"all scaled", allScaled},
                          {"sliver", sliver},
                          {"rectangle", rectangle},
                          {"near rectangle", nearRectangle},
                          {"concave", concave}};

} // namespace

MarkedQuad photograph(const SimulatedView& view) {
    const cv::Matx33d back = rayRotation(view.pitchDeg, view.yawDeg, view.rollDeg).t();
    const Lens lens(view.image, view.focalMm);
    const double cx = view.image.width * 0.5;
    const double cy = view.image.height * 0.5;
    const double sx[] = {-0.5, 0.5, 0.5, -0.5};
    const double sy[] = {-0.5, -0.5, 0.5, 0.5};
    MarkedQuad quad{view.image, {}};
    for (std::size_t i = 0; i < 4; ++i) {
        const cv::Matx13d upright(view.centreX + sx[i] * view.width,
                                  view.centreY + sy[i] * view.height, 1.0);
        const cv::Matx13d ray = upright * back;
        quad.corners[i] = {cx + lens.focalPx * ray(0) / ray(2),
                           cy + lens.focalPx * ray(1) / ray(2)};
    }
    return quad;
}

MarkedQuad randomFacade(std::mt19937_64& random) {
    const cv::Size sizes[] = {{1600, 1200}, {3000, 2000}, {4000, 3000}, {1080, 1920}, {6000, 4000}};
    while (true) {
        SimulatedView view;
        view.image = pick(random, sizes);
        view.pitchDeg = uniform(random, -30.0, 30.0);
        view.yawDeg = uniform(random, -30.0, 30.0);
        view.rollDeg = uniform(random, -8.0, 8.0);
        view.focalMm = uniform(random, 18.0, 45.0);
        view.width = uniform(random, 0.2, 1.2);
        view.height = uniform(random, 0.2, 1.2);
        view.centreX = uniform(random, -0.7, 0.7);
        view.centreY = uniform(random, -0.7, 0.7);
        MarkedQuad quad = photograph(view);
        if (!inside(quad)) {
            continue;
        }
        for (cv::Point2d& p : quad.corners) {
            p.x += uniform(random, -1.0, 1.0);
            p.y += uniform(random, -1.0, 1.0);
        }
        return quad;
    }
}

std::vector<QuadCase> hostileCases(std::uint64_t seed, int count) {
    const cv::Size sizes[] = {{1, 1},       {2, 1},       {1, 7},        {17, 13},
                              {35, 36},     {37, 20},     {640, 480},    {1600, 1200},
                              {1080, 1920}, {4000, 3000}, {12000, 9000}, {3, 12000}};
    const double focals[] = {0.0,    -0.0, 0.0,      1e-3,      0.5,    -4.5, -35.0,
                             20.0,   35.0, 35.0,     50.0,      1000.0, 1e9,  1e300,
                             -1e300, nan,  infinity, -infinity, 5e-324};
    std::mt19937_64 random(seed);
    std::vector<QuadCase> cases;
    for (int i = 0; i < count; ++i) {
        const Kind& kind = kinds[static_cast<std::size_t>(i) % std::size(kinds)];
        QuadCase c;
        c.focalMm = pick(random, focals);
        c.quad.image = pick(random, sizes);
        kind.draw(random, c);
        c.name = kind.name + (" " + std::to_string(i));
        cases.push_back(c);
    }
    return cases;
}

} // namespace tarvix::test
