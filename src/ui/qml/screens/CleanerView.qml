import QtQuick

// Filled in as its features arrive; until then the screen shows only the background.
Item {}
