#!/usr/bin/env python3
"""Turns dumps of the accessibility bus into recordings: from-dump.py DUMP.json... writes NAME.json beside this file.

A dump is one window of a real program: "app", "process", "toolkit", "xwindow" (what its X window says) and "tree", its
objects with "rawRoleName", "states", "name", "description", "value", "frame" and "children". What an object is in a
recording follows the agent's own mapping of the bus (src/platform/linux/accessibility/Mapping.cpp); what a dump does
not hold, such as other applications, is not in the recording.
"""
import json
import pathlib
import sys

PROCESS = 4001
TEXTS = {'label', 'static', 'paragraph', 'heading', 'caption'}
ROLES = {
    'push button': 'AXButton', 'toggle button': 'AXCheckBox', 'check box': 'AXCheckBox',
    'radio button': 'AXRadioButton', 'label': 'AXStaticText', 'static': 'AXStaticText', 'password text': 'AXTextField',
    'tool bar': 'AXToolbar', 'tree': 'AXOutline', 'tree table': 'AXOutline', 'page tab list': 'AXTabGroup',
    'icon': 'AXImage', 'image': 'AXImage', 'combo box': 'AXComboBox', 'menu bar': 'AXMenuBar', 'menu': 'AXMenu',
    'popup menu': 'AXMenu', 'menu item': 'AXMenuItem', 'check menu item': 'AXMenuItem',
    'radio menu item': 'AXMenuItem', 'link': 'AXLink', 'slider': 'AXSlider', 'dial': 'AXSlider',
    'spin button': 'AXIncrementor', 'list': 'AXList', 'list box': 'AXList', 'table': 'AXTable',
    'file chooser': 'AXBrowser', 'color chooser': 'AXBrowser', 'font chooser': 'AXBrowser',
    'progress bar': 'AXProgressIndicator',
}
CHOOSERS = {'file chooser', 'color chooser', 'font chooser'}
PRESSED = {'AXButton', 'AXCheckBox', 'AXRadioButton', 'AXMenuItem', 'AXLink'}


def role_of(node):
    raw = node['rawRoleName']
    if raw in ('paragraph', 'heading', 'caption'):
        return 'AXGroup' if node['children'] else 'AXStaticText'
    if raw in ('text', 'entry'):
        return 'AXTextField' if 'editable' in node['states'] else 'AXStaticText'
    return ROLES.get(raw, 'AXGroup')


def role_description(node):
    raw = node['rawRoleName']
    return 'alert' if raw == 'alert' else 'chooser' if raw in CHOOSERS else {'error': 'noValue'}


def is_class_name(name):
    return any(name.startswith(library) and name[3:4].isupper() and name.isalnum() for library in ('Gtk', 'Adw'))


def plain_name(node, toolkit):
    name = node['name'] or ''
    return '' if toolkit == 'GTK' and is_class_name(name) else name


def labels_inside(node, toolkit):
    for child in node['children']:
        if child['rawRoleName'] == 'label' and plain_name(child, toolkit):
            yield plain_name(child, toolkit)
        yield from labels_inside(child, toolkit)


def button_title(node, toolkit):
    labels = list(labels_inside(node, toolkit))
    return labels[0] if toolkit == 'GTK' and len(labels) == 1 else plain_name(node, toolkit)


def is_offered(node, toolkit, window_tells):
    """Whether the agent's binding would show the object: as far as its toolkit says, a person can see it."""
    if 'defunct' in node['states']:
        return False
    if toolkit != 'GTK' and window_tells and 'showing' not in node['states']:
        return False
    content = node['rawRoleName'] in TEXTS | {'text', 'entry', 'push button'}
    frame = node['frame']
    return not (content and frame and (frame[2] <= 0 or frame[3] <= 0 or min(frame[:2]) <= -2**31))


class Recording:
    def __init__(self, dump):
        self.dump = dump
        self.toolkit = dump['toolkit']
        self.is_active = bool(dump['xwindow'] and dump['xwindow']['active'])
        self.window_tells = 'showing' in dump['tree']['states']
        self.elements = []
        self.focused = None  # The deepest: Qt marks the containers, too.
        self.focused_depth = 0
        self.default_buttons = []

    def add(self, parent, role):
        element = {'id': f'#{len(self.elements) + 1}', 'process': PROCESS}
        if parent:
            element['parent'] = parent
        element['role'] = role
        self.elements.append(element)
        return element

    def offset(self):
        """From the coordinates of a GTK 4 window to those of the screen."""
        window, x = self.dump['tree'], self.dump['xwindow']
        if self.toolkit != 'GTK' or not x or not x['frame']:
            return 0, 0
        extents = x.get('gtk_frame_extents')
        return x['frame'][0] + (extents[0] if extents else 0), x['frame'][1] + (extents[2] if extents else 0)

    def place(self, frame, offset=(0, 0)):
        if not frame or min(frame[:2]) <= -2**31:
            return {'AXPosition': {'error': 'noValue'}, 'AXSize': {'error': 'noValue'}}
        return {'AXPosition': {'point': [frame[0] + offset[0], frame[1] + offset[1]]}, 'AXSize': {'size': frame[2:]}}

    def is_dialog_inside(self, node):
        return node['rawRoleName'] in ('dialog', 'alert') and self.holds_button(node)

    def holds_button(self, node):
        offered = [child for child in node['children'] if is_offered(child, self.toolkit, self.window_tells)]
        return any(child['rawRoleName'] == 'push button' or self.holds_button(child) for child in offered)

    def sheet(self, node, parent, depth):
        element = self.add(parent, 'AXSheet')
        attributes = {
            'AXTitle': plain_name(node, self.toolkit), 'AXDescription': node['description'] or '',
            'AXSubrole': 'AXDialog', 'AXModal': 'modal' in node['states'], 'AXMinimized': False,
            'AXMain': self.is_active, 'AXFocused': self.is_active, **self.place(node['frame'], self.offset()),
            'AXRoleDescription': role_description(node),
        }
        self.finish(element, attributes, ['AXRaise'], node, depth)

    def inner(self, node, parent, depth):
        if self.is_dialog_inside(node):
            self.sheet(node, parent, depth)
            return
        role = role_of(node)
        element = self.add(parent, role)
        secret = node['rawRoleName'] == 'password text'
        name = plain_name(node, self.toolkit)
        attributes = {}
        if role == 'AXButton':
            attributes['AXTitle'] = button_title(node, self.toolkit)
            attributes['AXEnabled'] = bool({'enabled', 'sensitive'} & set(node['states']))
        elif role == 'AXStaticText':
            attributes['AXTitle'] = {'error': 'noValue'}
        else:
            attributes['AXTitle'] = name
        attributes['AXDescription'] = node['description'] or ('Password' if secret else '')
        if node['rawRoleName'] == 'text' and role == 'AXStaticText':
            attributes['AXSubrole'] = 'AXTextArea'
        if secret:
            attributes['AXSubrole'] = 'AXSecureTextField'
        elif role in ('AXStaticText', 'AXTextField'):
            text = name if node['rawRoleName'] in TEXTS and name else node['value']
            attributes['AXValue'] = text or {'error': 'noValue'}
        elif role in ('AXCheckBox', 'AXRadioButton'):
            attributes['AXValue'] = 1 if 'checked' in node['states'] else 0
        attributes.update(self.place(node['frame'], self.offset()))
        attributes['AXFocused'] = 'focused' in node['states']
        if 'focused' in node['states'] and depth > self.focused_depth:
            self.focused, self.focused_depth = element['id'], depth
        if role == 'AXButton' and 'is-default' in node['states']:
            self.default_buttons.append(element['id'])
        self.finish(element, attributes, ['AXPress'] if role in PRESSED else [], node, depth)

    def finish(self, element, attributes, actions, node, depth):
        element['attributes'] = attributes
        if actions:
            element['actions'] = actions
        element['children'] = []
        for child in node['children']:
            if not is_offered(child, self.toolkit, self.window_tells):
                continue
            element['children'].append(f'#{len(self.elements) + 1}')
            self.inner(child, element['id'], depth + 1)
        if element['role'] in ('AXWindow', 'AXSheet'):
            only = self.default_buttons[0] if len(self.default_buttons) == 1 else None
            element['attributes']['AXDefaultButton'] = {'element': only} if only else {'error': 'noValue'}
            element['attributes']['AXCancelButton'] = {'error': 'noValue'}

    def record(self):
        tree, x = self.dump['tree'], self.dump['xwindow']
        application = self.add(None, 'AXApplication')
        window = self.add(application['id'], 'AXWindow')
        dialog = tree['subrole'] == 'AXDialog' or bool(x and x['transient_for'] and x['type'] in ([], ['NORMAL']))
        attributes = {
            'AXTitle': tree['title'] or '', 'AXDescription': tree['description'] or '',
            'AXSubrole': 'AXDialog' if dialog else 'AXStandardWindow', 'AXModal': tree['modal'],
            'AXMinimized': False, 'AXMain': self.is_active, 'AXFocused': self.is_active, **self.place(tree['frame']),
            'AXRoleDescription': role_description(tree),
        }
        self.finish(window, attributes, ['AXRaise'], tree, 0)
        active = self.is_active
        own = {'element': window['id']} if active else {'error': 'noValue'}
        application['attributes'] = {
            'AXFocusedUIElement': {'element': self.focused} if active and self.focused else {'error': 'noValue'},
            'AXFocusedWindow': own, 'AXFrontmost': active, 'AXMainWindow': own, 'AXTitle': self.dump['app'],
        }
        application['windows'] = [window['id']]
        frame = tree['frame']
        return {
            'applications': [{
                'processIdentifier': PROCESS, 'name': self.dump['process'] or self.dump['app'],
                'activationPolicy': 'regular', **({'active': True, 'frontmost': True} if active else {}),
                'element': application['id'],
            }],
            **({'focusedWindow': window['id']} if active else {}),
            **({'focusedElement': self.focused} if active and self.focused else {}),
            'windowList': [{
                'ownerProcessIdentifier': PROCESS, 'ownerName': self.dump['process'] or self.dump['app'],
                'windowName': tree['title'] or '', 'layer': 0, 'alpha': 1, 'bounds': frame,
            }] if frame else [],
            'elements': self.elements,
        }


def text_of(recording):
    for element in recording['elements']:
        element['attributes'] = dict(sorted(element['attributes'].items()))
    line = lambda value: json.dumps(value, ensure_ascii=False, separators=(',', ':'))
    members = ['"format": "quillard.recorded-desktop"', '"version": 2']
    for name, value in recording.items():
        if isinstance(value, list) and value:
            members.append(f'"{name}": [\n    ' + ',\n    '.join(map(line, value)) + '\n  ]')
        else:
            members.append(f'"{name}": {line(value)}')
    return '{\n  ' + ',\n  '.join(members) + '\n}\n'


def main():
    folder = pathlib.Path(__file__).resolve().parent
    for path in map(pathlib.Path, sys.argv[1:]):
        dump = json.loads(path.read_text())
        (folder / path.name).write_text(text_of(Recording(dump).record()))


if __name__ == '__main__':
    main()
