#include "platform/linux/catalogues/KnownLabels.h"

#include <array>
#include <string>

#include "foundation/Text.h"
#include "platform/linux/catalogues/LikelyCatalogues.h"

namespace quillard::catalogues {
namespace {

// The columns of the table.
constexpr std::array<std::string_view, 10> kEnglish{"Cancel", "OK",       "Yes",  "No",     "Allow",
                                                    "Deny",   "Continue", "Save", "Delete", "Quit"};

struct Row {
  std::string_view language;
  std::array<std::string_view, kEnglish.size()> labels;
};

constexpr Row kRows[] = {
    {"ar", {"إلغاء", "موافق", "نعم", "لا", "السماح", "رفض", "متابعة", "حفظ", "حذف", "إنهاء"}},
    {"cs", {"Zrušit", "OK", "Ano", "Ne", "Povolit", "Zakázat", "Pokračovat", "Uložit", "Odstranit", "Ukončit"}},
    {"da", {"Annullér", "O.k.", "Ja", "Nej", "Tillad", "Afvis", "Fortsæt", "Gem", "Slet", "Afslut"}},
    {"de",
     {"Abbrechen", "OK", "Ja", "Nein", "Erlauben", "Verweigern", "Fortfahren", "Speichern", "Löschen", "Beenden"}},
    {"el",
     {"Ακύρωση", "Εντάξει", "Ναι", "Όχι", "Να επιτρέπεται", "Άρνηση", "Συνέχεια", "Αποθήκευση", "Διαγραφή", "Έξοδος"}},
    {"es", {"Cancelar", "Aceptar", "Sí", "No", "Permitir", "Denegar", "Continuar", "Guardar", "Eliminar", "Salir"}},
    {"fi", {"Peru", "OK", "Kyllä", "Ei", "Salli", "Estä", "Jatka", "Tallenna", "Poista", "Lopeta"}},
    {"fr",
     {"Annuler", "Valider", "Oui", "Non", "Autoriser", "Refuser", "Continuer", "Enregistrer", "Supprimer", "Quitter"}},
    {"he", {"ביטול", "אישור", "כן", "לא", "אפשר", "דחה", "המשך", "שמירה", "מחיקה", "יציאה"}},
    {"hu", {"Mégse", "OK", "Igen", "Nem", "Engedélyezés", "Elutasítás", "Folytatás", "Mentés", "Törlés", "Kilépés"}},
    {"it", {"Annulla", "OK", "Sì", "No", "Consenti", "Nega", "Continua", "Salva", "Elimina", "Esci"}},
    {"ja", {"キャンセル", "OK", "はい", "いいえ", "許可", "拒否", "続行", "保存", "削除", "終了"}},
    {"ko", {"취소", "확인", "예", "아니요", "허용", "거부", "계속", "저장", "삭제", "끝내기"}},
    {"nb", {"Avbryt", "OK", "Ja", "Nei", "Tillat", "Avslå", "Fortsett", "Lagre", "Slett", "Avslutt"}},
    {"nl", {"Annuleren", "OK", "Ja", "Nee", "Toestaan", "Weigeren", "Doorgaan", "Opslaan", "Verwijderen", "Afsluiten"}},
    {"pl", {"Anuluj", "OK", "Tak", "Nie", "Zezwól", "Odmów", "Kontynuuj", "Zapisz", "Usuń", "Zakończ"}},
    {"pt", {"Cancelar", "OK", "Sim", "Não", "Permitir", "Negar", "Continuar", "Salvar", "Excluir", "Sair"}},
    {"ro", {"Anulează", "OK", "Da", "Nu", "Permite", "Refuză", "Continuă", "Salvează", "Șterge", "Ieșire"}},
    {"ru", {"Отмена", "ОК", "Да", "Нет", "Разрешить", "Запретить", "Продолжить", "Сохранить", "Удалить", "Выйти"}},
    {"sv", {"Avbryt", "OK", "Ja", "Nej", "Tillåt", "Neka", "Fortsätt", "Spara", "Ta bort", "Avsluta"}},
    {"tr", {"İptal", "Tamam", "Evet", "Hayır", "İzin Ver", "Reddet", "Devam Et", "Kaydet", "Sil", "Çık"}},
    {"uk",
     {"Скасувати", "Гаразд", "Так", "Ні", "Дозволити", "Заборонити", "Продовжити", "Зберегти", "Вилучити", "Вийти"}},
    {"zh", {"取消", "确定", "是", "否", "允许", "拒绝", "继续", "保存", "删除", "退出"}},
    {"zh", {"取消", "確定", "是", "否", "允許", "拒絕", "繼續", "儲存", "刪除", "結束"}},
};

}  // namespace

std::vector<std::string_view> knownLabels(std::string_view language, std::string_view label) {
  const auto names = languageNames(language);
  if (names.empty()) return {};
  const std::string shown = text::lowercased(label);
  std::vector<std::string_view> meanings;
  for (const auto& row : kRows) {
    if (row.language != names.back()) continue;
    for (std::size_t i = 0; i < kEnglish.size(); ++i) {
      const bool isNew = meanings.empty() || meanings.back() != kEnglish[i];
      if (isNew && text::lowercased(row.labels[i]) == shown) meanings.push_back(kEnglish[i]);
    }
  }
  return meanings;
}

}  // namespace quillard::catalogues
