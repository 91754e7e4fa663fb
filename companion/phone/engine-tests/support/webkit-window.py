#!/usr/bin/python3
"""A bare window of WebKit for its driver: the viewport of a phone, and a folder that keeps what the pages keep.

    webkit-window.py DATA-FOLDER WATCH-SCRIPT
"""
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("WebKit2", "4.1")
from gi.repository import Gtk, WebKit2  # noqa: E402

WIDTH, HEIGHT = 390, 844


def main():
    folder, watch = sys.argv[1:3]
    with open(watch, encoding="utf-8") as file:
        script = WebKit2.UserScript(
            file.read(),
            WebKit2.UserContentInjectedFrames.TOP_FRAME,
            WebKit2.UserScriptInjectionTime.START,
            None,
            None,
        )
    manager = WebKit2.WebsiteDataManager(base_data_directory=folder, base_cache_directory=folder)
    context = WebKit2.WebContext(website_data_manager=manager)
    context.set_automation_allowed(True)

    def create_view(_session):
        content = WebKit2.UserContentManager()
        content.add_script(script)
        view = WebKit2.WebView(web_context=context, is_controlled_by_automation=True, user_content_manager=content)
        view.set_size_request(320, 400)
        window = Gtk.Window(decorated=False)
        window.set_default_size(WIDTH, HEIGHT)
        window.add(view)
        window.show_all()
        return view

    def started(_context, session):
        info = WebKit2.ApplicationInfo()
        info.set_name("quillard-webkit-window")
        info.set_version(1, 0, 0)
        session.set_application_info(info)
        session.connect("create-web-view", create_view)

    context.connect("automation-started", started)
    Gtk.main()


main()
