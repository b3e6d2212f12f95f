#include "Renderer.h"

#include "Game.h"
#include "Pose.h"

#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <optional>

namespace sim {

namespace {

// The chase camera's projection: a left-handed look-at view with z up and a perspective of
// pi/2.1 field of view at aspect 1.3 on a 640 x 480 viewport, so that placements computed by
// others with the same camera rows land where this view draws things.
struct Camera {
    Vec3 eye, x_axis, y_axis, z_axis;
    float x_scale = 1, y_scale = 1;

    Camera(Vec3 e, Vec3 view)
        : eye(e) {
        z_axis = Normalize(view);
        x_axis = Normalize(Cross(Vec3{0, 0, 1}, z_axis));
        y_axis = Cross(z_axis, x_axis);
        y_scale = 1.0f / std::tan(float(M_PI / 2.1) / 2.0f);
        x_scale = y_scale / 1.3f;
    }
    std::optional<QPointF> Project(Vec3 p) const {
        const Vec3 d = p - eye;
        const float zv = Dot(d, z_axis);
        if (zv < 0.5f) {
            return std::nullopt;
        }
        const float xv = Dot(d, x_axis) * x_scale / zv;
        const float yv = Dot(d, y_axis) * y_scale / zv;
        return QPointF((1.0f + xv) * 320.0f, (1.0f - yv) * 240.0f);
    }
};

void DrawBox(QPainter& p, const Camera& camera, Vec3 centre, float heading, QColor colour,
             float length, float width, float height) {
    const Vec3 forward{std::cos(heading), std::sin(heading), 0};
    const Vec3 side{-std::sin(heading), std::cos(heading), 0};
    const float l = length / 2, w = width / 2;
    const Vec3 corners[4] = {centre + forward * l + side * w, centre + forward * l - side * w,
                             centre - forward * l - side * w, centre - forward * l + side * w};
    QPolygonF bottom, top;
    for (const Vec3& corner : corners) {
        auto a = camera.Project(corner);
        auto b = camera.Project(corner + Vec3{0, 0, height});
        if (!a || !b) {
            return;
        }
        bottom << *a;
        top << *b;
    }
    p.setPen(QPen(colour.darker(170), 1.5));
    p.setBrush(colour.darker(130));
    p.drawPolygon(bottom);
    for (int i = 0; i < 4; ++i) {
        QPolygonF face;
        face << bottom[i] << bottom[(i + 1) % 4] << top[(i + 1) % 4] << top[i];
        p.drawPolygon(face);
    }
    p.setBrush(colour);
    p.drawPolygon(top);
}

// A ghost from the ghost car's mesh: flat-shaded triangles in the slot colour, far ones first.
// The mesh's origin sits on the road under the body centre, which Tarvex puts 0.4 m behind
// the matrix's origin.
void DrawGhostMesh(QPainter& p, const Camera& camera, const GhostCar& car, const GhostView& ghost,
                   int model) {
    const Vec3 origin = Vec3{ghost.x, ghost.y, ghost.z} - ghost.forward * 0.4f - ghost.up * 0.5f;
    // Each ghost car model has its own length, so a change of model shows.
    const float length = 0.92f + 0.02f * float(std::clamp(model, 1, 8));
    const Vec3 light = Normalize(Vec3{0.3f, -0.5f, 1.0f});
    struct Face {
        float depth;
        QPolygonF polygon;
        float shade;
    };
    std::vector<Face> faces;
    faces.reserve(car.triangles.size());
    for (const auto& triangle : car.triangles) {
        Vec3 world[3];
        QPolygonF polygon;
        float depth = 0;
        for (int i = 0; i < 3; ++i) {
            const Vec3 v = car.vertices[triangle[std::size_t(i)]];
            world[i] = origin + ghost.side * v.x + ghost.up * v.y + ghost.forward * (v.z * length);
            const auto point = camera.Project(world[i]);
            if (!point) {
                break;
            }
            polygon << *point;
            const Vec3 d = world[i] - camera.eye;
            depth += Dot(d, d);
        }
        if (polygon.size() == 3) {
            const Vec3 normal = Normalize(Cross(world[1] - world[0], world[2] - world[0]));
            faces.push_back({depth, polygon, 0.45f + 0.55f * std::fabs(Dot(normal, light))});
        }
    }
    std::sort(faces.begin(), faces.end(),
              [](const Face& a, const Face& b) { return a.depth > b.depth; });
    const QColor base =
        QColor::fromRgbF(std::clamp(ghost.red, 0.0f, 1.0f), std::clamp(ghost.green, 0.0f, 1.0f),
                         std::clamp(ghost.blue, 0.0f, 1.0f));
    p.setPen(Qt::NoPen);
    for (const Face& face : faces) {
        QColor colour = QColor::fromRgbF(base.redF() * face.shade, base.greenF() * face.shade,
                                         base.blueF() * face.shade);
        colour.setAlphaF(0.8f);
        p.setBrush(colour);
        p.drawPolygon(face.polygon);
    }
}

void DrawLines(QPainter& p, QRectF box, const QString& text, int size, QColor colour) {
    QFont font("DejaVu Sans Mono");
    font.setPixelSize(size);
    p.setFont(font);
    p.setPen(colour);
    p.drawText(box, Qt::AlignLeft | Qt::AlignTop, text);
}

QString Format(float seconds) {
    if (seconds < 0) {
        seconds = 0;
    }
    const int hundredths = int(seconds * 100.0f);
    return QString::asprintf("%02d:%02d.%02d", hundredths / 6000, (hundredths / 100) % 60,
                             hundredths % 100);
}

} // namespace

QImage Renderer::Render(const Game& game) const {
    QImage image(Width, Height, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const Status s = game.GetStatus();

    if (!s.in_stage) {
        p.fillRect(image.rect(), QColor(24, 30, 44));
        QFont title("DejaVu Sans");
        title.setPixelSize(30);
        title.setBold(true);
        p.setFont(title);
        p.setPen(QColor(240, 200, 80));
        p.drawText(QRect(0, 20, Width, 40), Qt::AlignHCenter, "DUNEHOLT RALLY");
        if (s.loading) {
            DrawLines(p, QRectF(200, 220, 400, 40), "Loading stage...", 22, Qt::white);
        } else {
            DrawLines(p, QRectF(60, 80, 520, 30), QString::fromStdString(game.MenuTitle()), 22,
                      QColor(150, 200, 255));
            int y = 120;
            for (const MenuEntryView& entry : game.MenuEntries()) {
                DrawLines(p, QRectF(80, y, 500, 24), QString::fromStdString(entry.caption), 18,
                          entry.enabled ? Qt::white : Qt::gray);
                y += 24;
            }
            if (!s.refusal.empty()) {
                DrawLines(p, QRectF(80, y + 16, 520, 48),
                          "Cannot start the stage: " + QString::fromStdString(s.refusal), 16,
                          QColor(255, 110, 90));
            }
        }
    } else {
        // The same chase camera the game publishes in its camera rows.
        const Road& road = game.road();
        const RoadPoint here = road.At(s.distance);
        const Vec3 forward{std::cos(here.heading), std::sin(here.heading), 0};
        const Vec3 car{here.x, here.y, here.z + 0.5f};
        const Vec3 eye = car - forward * 7.0f + Vec3{0, 0, 2.6f};
        const Vec3 view = Normalize(car + forward * 4.0f + Vec3{0, 0, 0.6f} - eye);
        const Camera camera(eye, view);
        // Sky above the horizon (a far point at eye height straight ahead), ground below.
        const auto horizon = camera.Project(eye + forward * 100000.0f);
        const int horizon_y = horizon ? int(horizon->y()) : Height / 2;
        p.fillRect(QRect(0, 0, Width, horizon_y), QColor(120, 170, 225));
        p.fillRect(QRect(0, horizon_y, Width, Height - horizon_y), QColor(110, 140, 80));
        // Road: strips from just behind the car to 300 m ahead, far ones first.
        for (float d = std::min(road.Length(), s.distance + 300.0f); d > s.distance - 8.0f;
             d -= Road::Step * 2) {
            const RoadPoint a = road.At(d);
            const RoadPoint b = road.At(d - Road::Step * 2);
            auto edge = [](const RoadPoint& r, float offset) {
                return Vec3{r.x - std::sin(r.heading) * offset, r.y + std::cos(r.heading) * offset,
                            r.z};
            };
            auto p1 = camera.Project(edge(a, 4.5f)), p2 = camera.Project(edge(a, -4.5f));
            auto p3 = camera.Project(edge(b, -4.5f)), p4 = camera.Project(edge(b, 4.5f));
            if (p1 && p2 && p3 && p4) {
                QPolygonF strip;
                strip << *p1 << *p2 << *p3 << *p4;
                const bool light = int(d / 8.0f) % 2 == 0;
                p.setPen(Qt::NoPen);
                p.setBrush(light ? QColor(150, 130, 100) : QColor(140, 120, 92));
                p.drawPolygon(strip);
            }
        }
        // Ghosts, far ones first, then the own car.
        std::vector<GhostView> ghosts = s.ghosts;
        std::sort(ghosts.begin(), ghosts.end(), [&](const GhostView& a, const GhostView& b) {
            const Vec3 da = Vec3{a.x, a.y, a.z} - eye, db = Vec3{b.x, b.y, b.z} - eye;
            return Dot(da, da) > Dot(db, db);
        });
        for (const GhostView& ghost : ghosts) {
            const Vec3 d = Vec3{ghost.x, ghost.y, ghost.z} - eye;
            if (Dot(d, d) < 250.0f * 250.0f) {
                DrawGhostMesh(p, camera, game.GhostCarModel(), ghost, s.ghost_model);
            }
        }
        DrawBox(p, camera, car - Vec3{0, 0, 0.5f}, here.heading, QColor(230, 230, 235), 4.2f, 1.8f,
                1.3f);

        // Clock, countdown, distance and splits.
        DrawLines(p, QRectF(10, 8, 300, 24), Format(s.race_time), 22, Qt::white);
        DrawLines(p, QRectF(10, 34, 300, 20),
                  QString::asprintf("%.0f / %d m  %s", s.distance, s.stage_length,
                                    s.automatic ? "AUTO" : "MANUAL"),
                  16, Qt::white);
        if (s.splits >= 1) {
            DrawLines(p, QRectF(10, 54, 300, 20), "Split 1  " + Format(s.split1), 16, Qt::white);
        }
        if (s.splits >= 2) {
            DrawLines(p, QRectF(10, 72, 300, 20), "Split 2  " + Format(s.split2), 16, Qt::white);
        }
        if (!s.pre_start && s.countdown > 0.0f && s.countdown < 7.0f) {
            DrawLines(p, QRectF(280, 150, 200, 80), QString::number(int(std::ceil(s.countdown))),
                      64, QColor(255, 220, 40));
        } else if (s.finished) {
            DrawLines(p, QRectF(180, 150, 400, 50), "FINISH " + Format(s.race_time), 36,
                      QColor(255, 220, 40));
        }
        if (s.false_starts > 0) {
            DrawLines(p, QRectF(10, 92, 300, 20), "False start", 16, QColor(255, 80, 80));
        }

        // Stage map: the whole road, the own car and the ghosts.
        const QRectF map(Width - 130, 8, 120, 120);
        p.setPen(QPen(Qt::white, 1));
        p.setBrush(QColor(0, 0, 0, 110));
        p.drawRect(map);
        float min_x = 1e9f, max_x = -1e9f, min_y = 1e9f, max_y = -1e9f;
        for (const RoadPoint& r : road.Points()) {
            min_x = std::min(min_x, r.x);
            max_x = std::max(max_x, r.x);
            min_y = std::min(min_y, r.y);
            max_y = std::max(max_y, r.y);
        }
        const float scale = 110.0f / std::max(1.0f, std::max(max_x - min_x, max_y - min_y));
        auto to_map = [&](float x, float y) {
            return QPointF(map.left() + 5 + (x - min_x) * scale,
                           map.bottom() - 5 - (y - min_y) * scale);
        };
        QPolygonF line;
        for (std::size_t i = 0; i < road.Points().size(); i += 10) {
            line << to_map(road.Points()[i].x, road.Points()[i].y);
        }
        p.setPen(QPen(QColor(230, 210, 160), 1.5));
        p.setBrush(Qt::NoBrush);
        p.drawPolyline(line);
        for (const GhostView& ghost : s.ghosts) {
            p.setPen(Qt::NoPen);
            p.setBrush(QColor::fromRgbF(std::clamp(ghost.red, 0.0f, 1.0f),
                                        std::clamp(ghost.green, 0.0f, 1.0f),
                                        std::clamp(ghost.blue, 0.0f, 1.0f)));
            p.drawEllipse(to_map(ghost.x, ghost.y), 3, 3);
        }
        p.setBrush(Qt::white);
        p.drawEllipse(to_map(car.x, car.y), 3.5, 3.5);

        if (!s.info_text.empty()) {
            p.setPen(Qt::NoPen);
            p.setBrush(QColor(0, 0, 0, 140));
            p.drawRect(QRectF(8, 300, 230, 80));
            DrawLines(p, QRectF(14, 304, 224, 76), QString::fromStdString(s.info_text), 13,
                      Qt::white);
        }
        if (!s.name_tag.empty()) {
            QColor colour(255, 255, 255);
            colour.setAlphaF(std::clamp(s.tag_opacity, 0.0f, 1.0f));
            DrawLines(p, QRectF(s.tag_x, s.tag_y, 400, 24), QString::fromStdString(s.name_tag), 16,
                      colour);
        }
        if (s.paused) {
            // The in-race menu is laid out by rows 41..46: top, left and right of the panel,
            // the highlight bar's span and the text size.
            const std::vector<float> stock = {64, 200, 400, 200, 400, 14};
            const std::vector<float>& l =
                s.race_menu_layout.size() == 6 ? s.race_menu_layout : stock;
            const float top = 66.0f + l[0], left = l[1] - 30.0f, right = l[2] + 70.0f;
            const int size = std::clamp(int(l[5]) + 3, 8, 40);
            p.setPen(Qt::NoPen);
            p.setBrush(QColor(0, 0, 0, 170));
            p.drawRect(QRectF(left, top, right - left, 220));
            const bool pause = s.race_menu == 1;
            DrawLines(p, QRectF(left + 20, top + 10, right - left - 40, 24),
                      pause ? "Paused" : "Save Data", 20, QColor(240, 200, 80));
            const std::vector<MenuEntryView>& entries = pause ? s.race_entries : s.save_slots;
            const int first = pause ? 0 : std::max(0, s.race_highlight - 6);
            float y = top + 42.0f;
            for (int i = first; i < int(entries.size()) && y < top + 210.0f; ++i) {
                if (i == s.race_highlight) {
                    p.setPen(Qt::NoPen);
                    p.setBrush(QColor(240, 200, 80, 70));
                    p.drawRect(QRectF(l[3] - 8.0f, y, l[4] - l[3] + 50.0f, float(size) + 5.0f));
                }
                DrawLines(p, QRectF(left + 26, y, right - left - 30, float(size) + 5.0f),
                          QString::fromStdString(entries[std::size_t(i)].caption), size,
                          entries[std::size_t(i)].enabled ? Qt::white : Qt::gray);
                y += float(size) + 7.0f;
            }
        }
    }
    // The message box, where the box placement values put it. Builds with second copies of n1
    // and n2 place the box's frame by those, the text by the first ones.
    if (!s.overlay_text.empty()) {
        const float top = s.box[0];
        const float left = s.box[1];
        const float frame_top = s.box_copy.size() == 2 ? s.box_copy[0] : top;
        const float frame_left = s.box_copy.size() == 2 ? s.box_copy[1] : left;
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(0, 0, 0, 150));
        p.drawRect(QRectF(frame_left - 4, frame_top - 4,
                          std::max(100.0f, s.box[4] * 0.9f - frame_left), 104));
        DrawLines(p, QRectF(left, top, Width - left, Height - top),
                  QString::fromStdString(s.overlay_text), 15, QColor(255, 255, 180));
    }
    if (s.attached) {
        DrawLines(p, QRectF(Width - 170, Height - 24, 170, 20), "Tarvex attached", 14,
                  QColor(120, 255, 120));
    }
    return image;
}

} // namespace sim
