// A GTK 3 application that drags files (or text, with --text) out of its window. It offers copy
// and move and deletes the files when the target asks it to ("drag-data-delete") or when the
// drag ends with "move", as a file manager would, so a test can see that the wheel never does.
//   GtkDragSource [--text] files…
// Prints the same lines as QtDragSource: "ready X Y" once the window is mapped, "pressed",
// "dragging", "action copy|move|none" whenever the target's answer changes, and after each drag
// "result ACTION".
#include <cstdio>
#include <cstring>
#include <gtk/gtk.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> files;
bool textOnly = false;

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

const char* actionName(GdkDragAction action) {
    return action == GDK_ACTION_MOVE ? "move" : action == GDK_ACTION_COPY ? "copy" : "none";
}

void removeFiles() {
    for (const std::string& file : files)
        std::remove(file.c_str());
}

void dataGet(GtkWidget*, GdkDragContext*, GtkSelectionData* data, guint info, guint, gpointer) {
    if (info == 1) {
        const char* text = "just some text";
        gtk_selection_data_set_text(data, text, int(std::strlen(text)));
        return;
    }
    std::vector<gchar*> uris;
    for (const std::string& file : files)
        uris.push_back(g_filename_to_uri(file.c_str(), nullptr, nullptr));
    uris.push_back(nullptr);
    gtk_selection_data_set_uris(data, uris.data());
    for (gchar* uri : uris)
        g_free(uri);
}

void dataDelete(GtkWidget*, GdkDragContext*, gpointer) {
    say("delete requested");
    removeFiles();
}

gboolean pressed(GtkWidget*, GdkEvent*, gpointer) {
    say("pressed");
    return FALSE; // the drag source needs the press, too
}

void actionChanged(GdkDragContext*, GdkDragAction action, gpointer) {
    say(std::string("action ") + actionName(action));
}

void dragBegin(GtkWidget*, GdkDragContext* context, gpointer) {
    g_signal_connect(context, "action-changed", G_CALLBACK(actionChanged), nullptr);
    say("dragging");
}

void dragEnd(GtkWidget*, GdkDragContext* context, gpointer) {
    const GdkDragAction action = gdk_drag_context_get_selected_action(context);
    if (action == GDK_ACTION_MOVE)
        removeFiles();
    say(std::string("result ") + actionName(action));
}

gboolean dragFailed(GtkWidget*, GdkDragContext*, GtkDragResult, gpointer) {
    say("failed");
    return TRUE; // no snap-back animation
}

void mapped(GtkWidget* window, GdkEvent*, gpointer) {
    int x = 0, y = 0, w = 0, h = 0;
    gtk_window_get_position(GTK_WINDOW(window), &x, &y);
    gtk_window_get_size(GTK_WINDOW(window), &w, &h);
    say("ready " + std::to_string(x + w / 2) + ' ' + std::to_string(y + h / 2));
}

} // namespace

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--text") == 0)
            textOnly = true;
        else
            files.emplace_back(argv[i]);
    }
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), "GtkDragSource");
    gtk_window_set_default_size(GTK_WINDOW(window), 160, 160);
    gtk_window_move(GTK_WINDOW(window), 40, 40);
    GtkWidget* area = gtk_event_box_new();
    gtk_container_add(GTK_CONTAINER(window), area);

    GtkTargetEntry uriTarget{const_cast<gchar*>("text/uri-list"), 0, 0};
    GtkTargetEntry textTarget{const_cast<gchar*>("text/plain"), 0, 1};
    gtk_drag_source_set(area, GDK_BUTTON1_MASK, textOnly ? &textTarget : &uriTarget, 1,
                        GdkDragAction(GDK_ACTION_COPY | GDK_ACTION_MOVE));
    g_signal_connect(area, "button-press-event", G_CALLBACK(pressed), nullptr);
    g_signal_connect(area, "drag-begin", G_CALLBACK(dragBegin), nullptr);
    g_signal_connect(area, "drag-data-get", G_CALLBACK(dataGet), nullptr);
    g_signal_connect(area, "drag-data-delete", G_CALLBACK(dataDelete), nullptr);
    g_signal_connect(area, "drag-end", G_CALLBACK(dragEnd), nullptr);
    g_signal_connect(area, "drag-failed", G_CALLBACK(dragFailed), nullptr);
    g_signal_connect(window, "map-event", G_CALLBACK(mapped), nullptr);
    g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
    gtk_widget_show_all(window);
    gtk_main();
    return 0;
}
