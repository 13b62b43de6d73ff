#pragma once

/// The application's folders and the facts about its host: every class of the family.
